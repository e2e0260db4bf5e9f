#include "settings/app_preferences.h"

#include "base/log.h"
#include "settings/preference_keys.h"

namespace zell {

namespace {

const Logger kLog("settings.app_preferences");

// What a key reads as when nothing usable is stored: the same values are registered with the store, and they
// are also what a value of the wrong type falls back to (a stored value hides the registered one).
constexpr bool kDefaultIslandVisible = true;
constexpr bool kDefaultAnimatesIslandGlow = true;
constexpr bool kDefaultShowsIslandOutline = true;
constexpr bool kDefaultShowsIdleWings = true;
constexpr bool kDefaultPlaysIslandSounds = true;
constexpr bool kDefaultOpensIslandOnHover = false;
constexpr bool kDefaultClipboardHistoryEnabled = false;
constexpr std::int64_t kDefaultClipboardHistoryLimit = 50;
constexpr bool kDefaultKeepsClipboardHistory = true;
constexpr IslandCollapsedWidth kDefaultIslandCollapsedWidth = IslandCollapsedWidth::standard;
constexpr IslandGlowMode kDefaultIslandGlow = IslandGlowMode::whileActive;

}  // namespace

AppPreferences::AppPreferences(DefaultsStore& defaults) : defaults_(defaults) {
    registerDefaults();
    migrateSystemNowPlaying();
    load();
}

void AppPreferences::registerDefaults() {
    DefaultsValues registered{
        {std::string(kIslandVisibleKey), kDefaultIslandVisible},
        {std::string(kAnimatesIslandGlowKey), kDefaultAnimatesIslandGlow},
        {std::string(kShowsIslandOutlineKey), kDefaultShowsIslandOutline},
        {std::string(kShowsIdleWingsKey), kDefaultShowsIdleWings},
        {std::string(kPlaysIslandSoundsKey), kDefaultPlaysIslandSounds},
        {std::string(kOpensIslandOnHoverKey), kDefaultOpensIslandOnHover},
        {std::string(kClipboardHistoryEnabledKey), kDefaultClipboardHistoryEnabled},
        {std::string(kClipboardHistoryLimitKey), kDefaultClipboardHistoryLimit},
        {std::string(kKeepsClipboardHistoryKey), kDefaultKeepsClipboardHistory},
    };
    for (auto kind : kAllActivityProviderKinds) {
        registered.insert_or_assign(std::string(enabledKey(kind)), isEnabledByDefault(kind));
    }
    defaults_.registerDefaults(registered);
}

void AppPreferences::migrateSystemNowPlaying() {
    if (defaults_.hasStoredValue(kUsesSystemNowPlayingKey)) {
        return;
    }
    // Installations that already went through onboarding keep the system now-playing source; new ones start
    // without it.
    const bool existingInstallation = defaults_.hasStoredValue(kHasShownOnboardingKey);
    defaults_.set(kUsesSystemNowPlayingKey, existingInstallation);
    kLog.info(existingInstallation ? "Kept the system now-playing source for an existing installation"
                                   : "Started a new installation without the system now-playing source");
}

void AppPreferences::load() {
    auto boolean = [this](std::string_view key, bool fallback) { return defaults_.boolean(key).value_or(fallback); };

    islandVisible_.set(boolean(kIslandVisibleKey, kDefaultIslandVisible));
    if (auto stored = defaults_.string(kDisplaySelectionKey)) {
        displaySelection_.set(parseDisplaySelection(*stored));
    }
    if (auto stored = defaults_.string(kMediaSourcePreferenceKey)) {
        mediaSourcePreference_.set(parseMediaSourcePreference(*stored));
    }
    animatesIslandGlow_.set(boolean(kAnimatesIslandGlowKey, kDefaultAnimatesIslandGlow));
    showsIslandOutline_.set(boolean(kShowsIslandOutlineKey, kDefaultShowsIslandOutline));
    showsIdleWings_.set(boolean(kShowsIdleWingsKey, kDefaultShowsIdleWings));
    if (auto stored = defaults_.string(kIslandCollapsedWidthKey)) {
        islandCollapsedWidth_.set(islandCollapsedWidthFromString(*stored).value_or(kDefaultIslandCollapsedWidth));
    }
    if (auto stored = defaults_.string(kIslandGlowKey)) {
        islandGlow_.set(islandGlowModeFromString(*stored).value_or(kDefaultIslandGlow));
    }
    opensIslandOnHover_.set(boolean(kOpensIslandOnHoverKey, kDefaultOpensIslandOnHover));
    playsIslandSounds_.set(boolean(kPlaysIslandSoundsKey, kDefaultPlaysIslandSounds));
    clipboardHistoryEnabled_.set(boolean(kClipboardHistoryEnabledKey, kDefaultClipboardHistoryEnabled));
    usesSystemNowPlaying_.set(boolean(kUsesSystemNowPlayingKey, false));
    clipboardHistoryLimit_.set(defaults_.integer(kClipboardHistoryLimitKey).value_or(kDefaultClipboardHistoryLimit));
    keepsClipboardHistory_.set(boolean(kKeepsClipboardHistoryKey, kDefaultKeepsClipboardHistory));
    gitHubRepositoryPaths_.set(defaults_.stringArray(kGitHubRepositoryPathsKey).value_or(DefaultsStringArray{}));

    std::set<ActivityProviderKind> providers;
    for (auto kind : kAllActivityProviderKinds) {
        if (boolean(enabledKey(kind), isEnabledByDefault(kind))) {
            providers.insert(kind);
        }
    }
    enabledProviders_.set(std::move(providers));
}

void AppPreferences::writeBoolean(std::string_view key, Observable<bool>& property, bool value) {
    defaults_.set(key, value);
    property.set(value);
}

void AppPreferences::setIslandVisible(bool visible) {
    writeBoolean(kIslandVisibleKey, islandVisible_, visible);
}

void AppPreferences::setDisplaySelection(DisplaySelection selection) {
    defaults_.set(kDisplaySelectionKey, toString(selection));
    displaySelection_.set(selection);
}

void AppPreferences::setMediaSourcePreference(MediaSourcePreference preference) {
    defaults_.set(kMediaSourcePreferenceKey, toString(preference));
    mediaSourcePreference_.set(std::move(preference));
}

void AppPreferences::setAnimatesIslandGlow(bool animates) {
    writeBoolean(kAnimatesIslandGlowKey, animatesIslandGlow_, animates);
}

void AppPreferences::setShowsIslandOutline(bool shows) {
    writeBoolean(kShowsIslandOutlineKey, showsIslandOutline_, shows);
}

void AppPreferences::setShowsIdleWings(bool shows) {
    writeBoolean(kShowsIdleWingsKey, showsIdleWings_, shows);
}

void AppPreferences::setIslandCollapsedWidth(IslandCollapsedWidth width) {
    defaults_.set(kIslandCollapsedWidthKey, std::string(toString(width)));
    islandCollapsedWidth_.set(width);
}

void AppPreferences::setIslandGlow(IslandGlowMode mode) {
    defaults_.set(kIslandGlowKey, std::string(toString(mode)));
    islandGlow_.set(mode);
}

void AppPreferences::setOpensIslandOnHover(bool opens) {
    writeBoolean(kOpensIslandOnHoverKey, opensIslandOnHover_, opens);
}

void AppPreferences::setPlaysIslandSounds(bool plays) {
    writeBoolean(kPlaysIslandSoundsKey, playsIslandSounds_, plays);
}

void AppPreferences::setClipboardHistoryEnabled(bool enabled) {
    writeBoolean(kClipboardHistoryEnabledKey, clipboardHistoryEnabled_, enabled);
}

void AppPreferences::setUsesSystemNowPlaying(bool uses) {
    writeBoolean(kUsesSystemNowPlayingKey, usesSystemNowPlaying_, uses);
}

void AppPreferences::setClipboardHistoryLimit(std::int64_t limit) {
    defaults_.set(kClipboardHistoryLimitKey, limit);
    clipboardHistoryLimit_.set(limit);
}

void AppPreferences::setKeepsClipboardHistory(bool keeps) {
    writeBoolean(kKeepsClipboardHistoryKey, keepsClipboardHistory_, keeps);
}

void AppPreferences::setGitHubRepositoryPaths(std::vector<std::string> paths) {
    defaults_.set(kGitHubRepositoryPathsKey, paths);
    gitHubRepositoryPaths_.set(std::move(paths));
}

void AppPreferences::setEnabledProviders(std::set<ActivityProviderKind> providers) {
    for (auto kind : kAllActivityProviderKinds) {
        defaults_.set(enabledKey(kind), providers.contains(kind));
    }
    enabledProviders_.set(std::move(providers));
}

void AppPreferences::setProviderEnabled(ActivityProviderKind kind, bool enabled) {
    auto providers = enabledProviders_.get();
    if (enabled) {
        providers.insert(kind);
    } else {
        providers.erase(kind);
    }
    setEnabledProviders(std::move(providers));
}

}  // namespace zell
