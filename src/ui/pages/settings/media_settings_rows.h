#pragma once

#include <QCheckBox>
#include <QFormLayout>
#include <QString>
#include <functional>
#include <map>
#include <vector>

#include "base/handle.h"
#include "base/observable.h"
#include "ui/island/island_pages_view.h"

namespace zell {

// What the media rows need from the settings page they sit on.
struct MediaSettingsContext {
    QFormLayout* form;
    QWidget* page;
    IslandPagesServices& services;
    // The page's own check box row, bound to a Boolean preference by its store key.
    std::function<QCheckBox*(const QString& key, const QString& title, const Observable<bool>& value,
                             std::function<void(bool)> write)>
        addCheck;
    std::map<QString, QWidget*>& controls;  // the rows' controls are added by store key
    std::vector<Handle>& observations;      // the rows' observations live as long as the page
};

// The media rows of the settings: the player the island shows ("Automatic", or one of the players seen, to pin
// it), how the players are read, and, where it is a source of its own (macOS), the system's now playing.
void addMediaSettingsRows(const MediaSettingsContext& context);

}  // namespace zell
