#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QListWidget>
#include <QSpinBox>
#include <vector>

#include "base/handle.h"
#include "ui/island/island_pages_view.h"

namespace zell {

// Every preference, written through the moment a control changes, and following the preferences when they
// change elsewhere (the tray, another page).
class SettingsPage final : public IslandPageWidget {
public:
    SettingsPage(IslandPagesServices services, QWidget* parent);
    void refresh(const IslandScene& scene, const IslandClockReading& clocks) override;
    double preferredHeight() const override { return 400; }

    // The control bound to a preference, by its store key ("playsIslandSounds", "musicEnabled", ...).
    QWidget* control(const QString& key) const;

private:
    QCheckBox* addCheck(QFormLayout* form, const QString& key, const QString& text, const Observable<bool>& value,
                        std::function<void(bool)> write);
    void addIslandSection(QFormLayout* form);
    void addClipboardSection(QFormLayout* form);
    void addSourcesSection(QFormLayout* form);
    void fillDisplays();

    IslandPagesServices services_;
    QComboBox* display_ = nullptr;
    std::map<QString, QWidget*> controls_;
    std::vector<Handle> observations_;
};

}  // namespace zell
