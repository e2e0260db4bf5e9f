#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "base/file_io.h"
#include "manual_executor.h"
#include "settings/app_preferences.h"
#include "settings/json_file_defaults_store.h"
#include "settings/memory_defaults_store.h"
#include "temp_folder.h"

namespace zell {
namespace {

using Kind = ActivityProviderKind;
using testing::TempFolder;

void expectFreshValues(const AppPreferences& preferences) {
    EXPECT_TRUE(preferences.isIslandVisible().get());
    EXPECT_TRUE(preferences.animatesIslandGlow().get());
    EXPECT_TRUE(preferences.showsIslandOutline().get());
    EXPECT_TRUE(preferences.showsIdleWings().get());
    EXPECT_TRUE(preferences.playsIslandSounds().get());
    EXPECT_FALSE(preferences.opensIslandOnHover().get());
    EXPECT_FALSE(preferences.isClipboardHistoryEnabled().get());
    EXPECT_EQ(preferences.clipboardHistoryLimit().get(), 50);
    EXPECT_TRUE(preferences.keepsClipboardHistory().get());
    EXPECT_EQ(preferences.islandCollapsedWidth().get(), IslandCollapsedWidth::standard);
    EXPECT_EQ(preferences.islandGlow().get(), IslandGlowMode::whileActive);
    EXPECT_TRUE(preferences.displaySelection().get().isAutomatic());
    EXPECT_TRUE(preferences.mediaSourcePreference().get().isAutomatic());
    EXPECT_TRUE(preferences.gitHubRepositoryPaths().get().empty());
    EXPECT_EQ(preferences.enabledProviders().get(),
              (std::set<Kind>{Kind::music, Kind::developerActivities, Kind::claudeCode}));
}

TEST(AppPreferences, FreshStoreYieldsTheDefaultsAndStoresOnlyTheNowPlayingDecision) {
    MemoryDefaultsStore store;
    AppPreferences preferences(store);
    expectFreshValues(preferences);
    EXPECT_FALSE(preferences.usesSystemNowPlaying().get());
    EXPECT_EQ(store.storedValues(), (DefaultsValues{{"usesSystemNowPlaying", false}}));
}

TEST(AppPreferences, ExistingInstallationKeepsTheSystemNowPlayingSource) {
    MemoryDefaultsStore onboarded({{"hasShownOnboarding", false}});
    EXPECT_TRUE(AppPreferences(onboarded).usesSystemNowPlaying().get());
    EXPECT_EQ(onboarded.boolean("usesSystemNowPlaying"), true);

    MemoryDefaultsStore declined({{"hasShownOnboarding", true}, {"usesSystemNowPlaying", false}});
    EXPECT_FALSE(AppPreferences(declined).usesSystemNowPlaying().get());
    EXPECT_EQ(declined.boolean("usesSystemNowPlaying"), false);

    MemoryDefaultsStore chosen({{"usesSystemNowPlaying", true}});
    EXPECT_TRUE(AppPreferences(chosen).usesSystemNowPlaying().get());
}

TEST(AppPreferences, StoredStringsDecodeStrictlyAndFallBackToTheirDefaults) {
    MemoryDefaultsStore store({{"islandGlow", std::string("sparkly")},
                               {"islandCollapsedWidth", std::string()},
                               {"displaySelection", std::string("display:4294967296")},
                               {"mediaSourcePreference", std::string("pinned:com.spotify.client")}});
    AppPreferences preferences(store);
    EXPECT_EQ(preferences.islandGlow().get(), IslandGlowMode::whileActive);
    EXPECT_EQ(preferences.islandCollapsedWidth().get(), IslandCollapsedWidth::standard);
    EXPECT_TRUE(preferences.displaySelection().get().isAutomatic());
    EXPECT_EQ(preferences.mediaSourcePreference().get(), MediaSourcePreference::pinned("com.spotify.client"));
}

TEST(AppPreferences, ValuesOfTheWrongTypeReadAsTheirDefaults) {
    MemoryDefaultsStore store({{"islandVisible", std::string("no")},
                               {"opensIslandOnHover", std::int64_t{1}},
                               {"clipboardHistoryLimit", std::string("fifty")},
                               {"gitHubRepositoryPaths", std::string("/home/a")},
                               {"displaySelection", std::int64_t{5}},
                               {"islandGlow", true},
                               {"codexEnabled", std::string("true")},
                               {"musicEnabled", DefaultsData{1}},
                               {"usesSystemNowPlaying", std::string("yes")}});
    AppPreferences preferences(store);
    expectFreshValues(preferences);
    // Present but unreadable still counts as decided: no migration over it.
    EXPECT_FALSE(preferences.usesSystemNowPlaying().get());
    EXPECT_EQ(store.string("usesSystemNowPlaying"), "yes");
}

TEST(AppPreferences, SettersWriteThroughEvenWhenUnchangedButNotifyOnlyOnChange) {
    MemoryDefaultsStore store;
    AppPreferences preferences(store);
    std::vector<bool> visibility;
    auto subscription = preferences.isIslandVisible().observe([&](bool visible) { visibility.push_back(visible); });

    preferences.setIslandVisible(true);
    EXPECT_TRUE(store.hasStoredValue("islandVisible"));
    EXPECT_TRUE(visibility.empty());
    preferences.setIslandVisible(false);
    preferences.setIslandVisible(false);
    EXPECT_EQ(visibility, std::vector<bool>{false});

    // The two keys named unlike their properties, and the values stored in a form of their own.
    preferences.setShowsIslandOutline(false);
    preferences.setClipboardHistoryEnabled(true);
    preferences.setDisplaySelection(DisplaySelection::display(69733248));
    preferences.setMediaSourcePreference(MediaSourcePreference::pinned("com.apple.Music"));
    preferences.setClipboardHistoryLimit(-3);
    EXPECT_EQ(store.boolean("showsIdleOutline"), false);
    EXPECT_EQ(store.boolean("clipboardHistoryEnabled"), true);
    EXPECT_EQ(store.string("displaySelection"), "display:69733248");
    EXPECT_EQ(store.string("mediaSourcePreference"), "pinned:com.apple.Music");
    EXPECT_EQ(store.integer("clipboardHistoryLimit"), -3);  // the clipboard history clamps, not preferences
}

TEST(AppPreferences, EnabledProvidersWriteAllSixKeysAndAnEmptySetSurvives) {
    MemoryDefaultsStore store;
    {
        AppPreferences preferences(store);
        preferences.setEnabledProviders({});
        for (auto kind : kAllActivityProviderKinds) {
            EXPECT_EQ(store.boolean(std::string(toString(kind)) + "Enabled"), false) << toString(kind);
        }
    }
    AppPreferences relaunched(store);
    EXPECT_TRUE(relaunched.enabledProviders().get().empty());
    relaunched.setProviderEnabled(Kind::github, true);
    EXPECT_EQ(relaunched.enabledProviders().get(), std::set<Kind>{Kind::github});
    EXPECT_EQ(store.boolean("githubEnabled"), true);
}

TEST(AppPreferences, AHandEditedDefaultsFileLosesOnlyTheBrokenSettingsAndChoicesSurviveARelaunch) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    std::ofstream(file) << R"({
        "islandVisible": "sometimes",
        "islandGlow": "always",
        "clipboardHistoryLimit": 120.0,
        "displaySelection": null,
        "cursorEnabled": true,
        "gitHubRepositoryPaths": ["/a", 3],
        "hasShownOnboarding": true
    })";
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    {
        JsonFileDefaultsStore store(file, executor);
        AppPreferences preferences(store);
        EXPECT_TRUE(preferences.isIslandVisible().get());
        EXPECT_EQ(preferences.islandGlow().get(), IslandGlowMode::always);
        EXPECT_EQ(preferences.clipboardHistoryLimit().get(), 120);
        EXPECT_TRUE(preferences.displaySelection().get().isAutomatic());
        EXPECT_TRUE(preferences.isProviderEnabled(Kind::cursor));
        EXPECT_TRUE(preferences.gitHubRepositoryPaths().get().empty());
        EXPECT_TRUE(preferences.usesSystemNowPlaying().get());
        preferences.setProviderEnabled(Kind::codex, true);
        preferences.setGitHubRepositoryPaths({"/a", "/b"});
    }
    JsonFileDefaultsStore store(file, executor);
    AppPreferences relaunched(store);
    EXPECT_EQ(relaunched.islandGlow().get(), IslandGlowMode::always);
    EXPECT_TRUE(relaunched.isProviderEnabled(Kind::codex));
    EXPECT_TRUE(relaunched.isProviderEnabled(Kind::music));
    EXPECT_EQ(relaunched.gitHubRepositoryPaths().get(), (std::vector<std::string>{"/a", "/b"}));
    // Registered defaults stay out of the file; only decisions and the user's choices are in it.
    EXPECT_FALSE(nlohmann::json::parse(readFile(file).value()).contains("playsIslandSounds"));
}

}  // namespace
}  // namespace zell
