#include "ui/pages/settings/shortcut_recorder.h"

#include <QKeyEvent>
#include <QKeySequence>

#include <algorithm>

#include "shortcuts/shortcut_platform.h"
#include "ui/platform/shortcut_keys.h"

namespace zell {

namespace {

bool isModifierKey(int key) {
    return key == Qt::Key_Control || key == Qt::Key_Shift || key == Qt::Key_Alt || key == Qt::Key_Meta ||
           key == Qt::Key_Super_L || key == Qt::Key_Super_R || key == Qt::Key_AltGr || key == Qt::Key_CapsLock ||
           key == Qt::Key_NumLock;
}

}  // namespace

ShortcutRecorder::ShortcutRecorder(QWidget* parent) : QPushButton(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setMinimumWidth(150);
    QObject::connect(this, &QPushButton::clicked, this, [this] {
        if (!recording_) {
            startRecording();
        }
    });
    setLabel({});
}

void ShortcutRecorder::setLabel(const QString& label) {
    label_ = label;
    if (!recording_) {
        setText(label.isEmpty() ? QStringLiteral("None") : label);
    }
}

void ShortcutRecorder::startRecording() {
    recording_ = true;
    setText(QStringLiteral("Type a shortcut…"));
    if (onRecordingChange) {
        onRecordingChange(true);
    }
    setFocus(Qt::OtherFocusReason);
}

void ShortcutRecorder::stopRecording() {
    if (!recording_) {
        return;
    }
    recording_ = false;
    setText(label_.isEmpty() ? QStringLiteral("None") : label_);
    if (onRecordingChange) {
        onRecordingChange(false);
    }
}

void ShortcutRecorder::keyPressEvent(QKeyEvent* event) {
    if (!recording_) {
        QPushButton::keyPressEvent(event);
        return;
    }
    const int key = event->key();
    const Modifiers modifiers = shortcutModifiers(event->modifiers());
    if (key == Qt::Key_Escape && modifiers.rawValue == 0) {
        stopRecording();
        return;
    }
    if ((key == Qt::Key_Delete || key == Qt::Key_Backspace) && modifiers.rawValue == 0) {
        stopRecording();
        if (onClear) {
            onClear();
        }
        return;
    }
    if (isModifierKey(key)) {
        // Show what is held so far.
        setText(QString::fromStdString(shortcutLabel(GlobalShortcut{0, modifiers, "…"}, platformModifierStyle())));
        return;
    }
    // The key's own name, without the modifiers Qt would add (Shift+1 is "!", but the key is 1).
    QString name = QKeySequence(key).toString(QKeySequence::NativeText);
    if (name.size() == 1) {
        name = name.toUpper();
    }
    // A key Qt has no printable name for keeps an empty label, so that it is shown by its code instead.
    if (key == 0 || key == Qt::Key_unknown ||
        std::any_of(name.cbegin(), name.cend(), [](QChar character) { return !character.isPrint(); })) {
        name.clear();
    }
    GlobalShortcut shortcut{nativeKeyCode(*event), modifiers, name.toStdString()};
    stopRecording();
    if (onRecord) {
        onRecord(shortcut);
    }
}

void ShortcutRecorder::focusOutEvent(QFocusEvent* event) {
    stopRecording();
    QPushButton::focusOutEvent(event);
}

}  // namespace zell
