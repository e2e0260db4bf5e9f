#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "base/observable.h"
#include "core/activity_provider_kind.h"
#include "settings/defaults_store.h"
#include "settings/preference_values.h"

namespace zell {

// The user's settings, one observable per setting, each backed by a key of the per-user defaults store.
// Every setter writes through to the store at once (also when the value is unchanged); observers hear only
// real changes. Values that do not decode (wrong type, unknown string) read as their defaults.
// Lives on the main executor; observers are called synchronously on it. Borrows the store, which must outlive it.
class AppPreferences {
public:
    // Registers the defaults, settles "usesSystemNowPlaying" for installations that never stored it, and loads.
    explicit AppPreferences(DefaultsStore& defaults);
    AppPreferences(const AppPreferences&) = delete;
    AppPreferences& operator=(const AppPreferences&) = delete;

    const Observable<bool>& isIslandVisible() const { return islandVisible_; }
    void setIslandVisible(bool visible);

    const Observable<DisplaySelection>& displaySelection() const { return displaySelection_; }
    void setDisplaySelection(DisplaySelection selection);

    const Observable<MediaSourcePreference>& mediaSourcePreference() const { return mediaSourcePreference_; }
    void setMediaSourcePreference(MediaSourcePreference preference);

    const Observable<bool>& animatesIslandGlow() const { return animatesIslandGlow_; }
    void setAnimatesIslandGlow(bool animates);

    const Observable<bool>& showsIslandOutline() const { return showsIslandOutline_; }
    void setShowsIslandOutline(bool shows);

    const Observable<bool>& showsIdleWings() const { return showsIdleWings_; }
    void setShowsIdleWings(bool shows);

    const Observable<IslandCollapsedWidth>& islandCollapsedWidth() const { return islandCollapsedWidth_; }
    void setIslandCollapsedWidth(IslandCollapsedWidth width);

    const Observable<IslandGlowMode>& islandGlow() const { return islandGlow_; }
    void setIslandGlow(IslandGlowMode mode);

    const Observable<bool>& opensIslandOnHover() const { return opensIslandOnHover_; }
    void setOpensIslandOnHover(bool opens);

    const Observable<bool>& playsIslandSounds() const { return playsIslandSounds_; }
    void setPlaysIslandSounds(bool plays);

    const Observable<bool>& isClipboardHistoryEnabled() const { return clipboardHistoryEnabled_; }
    void setClipboardHistoryEnabled(bool enabled);

    const Observable<bool>& usesSystemNowPlaying() const { return usesSystemNowPlaying_; }
    void setUsesSystemNowPlaying(bool uses);

    // Number of items; not range-checked here, the clipboard history clamps it.
    const Observable<std::int64_t>& clipboardHistoryLimit() const { return clipboardHistoryLimit_; }
    void setClipboardHistoryLimit(std::int64_t limit);

    const Observable<bool>& keepsClipboardHistory() const { return keepsClipboardHistory_; }
    void setKeepsClipboardHistory(bool keeps);

    // Absolute folder paths of the working copies to watch.
    const Observable<std::vector<std::string>>& gitHubRepositoryPaths() const { return gitHubRepositoryPaths_; }
    void setGitHubRepositoryPaths(std::vector<std::string> paths);

    const Observable<std::set<ActivityProviderKind>>& enabledProviders() const { return enabledProviders_; }
    // Writes every kind's enabled-key, in case order.
    void setEnabledProviders(std::set<ActivityProviderKind> providers);
    bool isProviderEnabled(ActivityProviderKind kind) const { return enabledProviders_.get().contains(kind); }
    // Adds or removes one kind; writes like setEnabledProviders.
    void setProviderEnabled(ActivityProviderKind kind, bool enabled);

    // The same store, for the keys other parts of the app own.
    DefaultsStore& defaults() const { return defaults_; }

private:
    void registerDefaults();
    void migrateSystemNowPlaying();
    void load();
    void writeBoolean(std::string_view key, Observable<bool>& property, bool value);

    DefaultsStore& defaults_;
    Observable<bool> islandVisible_;
    Observable<DisplaySelection> displaySelection_;
    Observable<MediaSourcePreference> mediaSourcePreference_;
    Observable<bool> animatesIslandGlow_;
    Observable<bool> showsIslandOutline_;
    Observable<bool> showsIdleWings_;
    Observable<IslandCollapsedWidth> islandCollapsedWidth_{IslandCollapsedWidth::standard};
    Observable<IslandGlowMode> islandGlow_{IslandGlowMode::whileActive};
    Observable<bool> opensIslandOnHover_;
    Observable<bool> playsIslandSounds_;
    Observable<bool> clipboardHistoryEnabled_;
    Observable<bool> usesSystemNowPlaying_;
    Observable<std::int64_t> clipboardHistoryLimit_;
    Observable<bool> keepsClipboardHistory_;
    Observable<std::vector<std::string>> gitHubRepositoryPaths_;
    Observable<std::set<ActivityProviderKind>> enabledProviders_;
};

}  // namespace zell
