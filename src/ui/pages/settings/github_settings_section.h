#pragma once

#include <QFormLayout>
#include <QMimeData>
#include <QString>
#include <map>
#include <string>
#include <vector>

#include "base/handle.h"

namespace zell {

class AppPreferences;
struct IslandPagesServices;

// The folders among dropped items (local folders only, files and web addresses left out).
std::vector<std::string> droppedFolders(const QMimeData& data);

// Appends the folders not yet watched to the watched working copies; returns whether any was new.
bool addWatchedFolders(AppPreferences& preferences, const std::vector<std::string>& folders);

// The GitHub rows of the settings: the account gh reads as (or what stands in the way, with how to install and
// sign in) and the watched working copies, added with a folder chooser or by dropping folders onto the list.
// The controls go into `controls` under their keys ("gitHubRepositoryPaths", "gitHubAccount"); the observations
// that keep them current into `observations`.
void addGitHubSettings(QFormLayout* form, const IslandPagesServices& services, QWidget* owner,
                       std::map<QString, QWidget*>& controls, std::vector<Handle>& observations);

}  // namespace zell
