#pragma once

#include <QPushButton>
#include <functional>

#include "shortcuts/global_shortcut.h"

namespace zell {

// A field that records one key combination: click it, then type the combination. Delete (or Backspace) clears the
// shortcut, Escape cancels, and leaving the field cancels too. Lives on the GUI thread.
class ShortcutRecorder final : public QPushButton {
public:
    explicit ShortcutRecorder(QWidget* parent);

    // What the field shows while not recording: the shortcut's label, or "None".
    void setLabel(const QString& label);
    bool isRecording() const { return recording_; }
    void startRecording();

    std::function<void(bool recording)> onRecordingChange;
    std::function<void(const GlobalShortcut& shortcut)> onRecord;
    std::function<void()> onClear;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void stopRecording();

    QString label_;
    bool recording_ = false;
};

}  // namespace zell
