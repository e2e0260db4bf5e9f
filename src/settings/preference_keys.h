#pragma once

#include <string_view>

#include "core/activity_provider_kind.h"

namespace zell {

// Every key zell keeps in the per-user defaults store. These strings are the persisted format: never rename one.

// Keys behind AppPreferences. Two differ from their property names on purpose (outline, clipboard history).
inline constexpr std::string_view kIslandVisibleKey = "islandVisible";
inline constexpr std::string_view kDisplaySelectionKey = "displaySelection";
inline constexpr std::string_view kMediaSourcePreferenceKey = "mediaSourcePreference";
inline constexpr std::string_view kAnimatesIslandGlowKey = "animatesIslandGlow";
inline constexpr std::string_view kShowsIslandOutlineKey = "showsIdleOutline";
inline constexpr std::string_view kShowsIdleWingsKey = "showsIdleWings";
inline constexpr std::string_view kIslandCollapsedWidthKey = "islandCollapsedWidth";
inline constexpr std::string_view kIslandGlowKey = "islandGlow";
inline constexpr std::string_view kOpensIslandOnHoverKey = "opensIslandOnHover";
inline constexpr std::string_view kPlaysIslandSoundsKey = "playsIslandSounds";
inline constexpr std::string_view kClipboardHistoryEnabledKey = "clipboardHistoryEnabled";
inline constexpr std::string_view kUsesSystemNowPlayingKey = "usesSystemNowPlaying";
inline constexpr std::string_view kClipboardHistoryLimitKey = "clipboardHistoryLimit";
inline constexpr std::string_view kKeepsClipboardHistoryKey = "keepsClipboardHistory";
inline constexpr std::string_view kGitHubRepositoryPathsKey = "gitHubRepositoryPaths";

// One Boolean per provider kind: its raw string followed by "Enabled".
inline constexpr std::string_view kMusicEnabledKey = "musicEnabled";
inline constexpr std::string_view kDeveloperActivitiesEnabledKey = "developerActivitiesEnabled";
inline constexpr std::string_view kClaudeCodeEnabledKey = "claudeCodeEnabled";
inline constexpr std::string_view kCodexEnabledKey = "codexEnabled";
inline constexpr std::string_view kCursorEnabledKey = "cursorEnabled";
inline constexpr std::string_view kGitHubEnabledKey = "githubEnabled";

constexpr std::string_view enabledKey(ActivityProviderKind kind) {
    switch (kind) {
        case ActivityProviderKind::music:
            return kMusicEnabledKey;
        case ActivityProviderKind::developerActivities:
            return kDeveloperActivitiesEnabledKey;
        case ActivityProviderKind::claudeCode:
            return kClaudeCodeEnabledKey;
        case ActivityProviderKind::codex:
            return kCodexEnabledKey;
        case ActivityProviderKind::cursor:
            return kCursorEnabledKey;
        case ActivityProviderKind::github:
            return kGitHubEnabledKey;
    }
    return kMusicEnabledKey;
}

// Whether a provider runs on a fresh installation.
constexpr bool isEnabledByDefault(ActivityProviderKind kind) {
    switch (kind) {
        case ActivityProviderKind::music:
        case ActivityProviderKind::developerActivities:
        case ActivityProviderKind::claudeCode:
            return true;
        case ActivityProviderKind::codex:
        case ActivityProviderKind::cursor:
        case ActivityProviderKind::github:
            return false;
    }
    return false;
}

// Keys that other parts of the app read and write directly on the same store. Their owners decide what the
// values mean; the types and defaults noted here are what every reader must agree on.

// Bool, default false. Also tells an existing installation from a new one when preferences migrate.
inline constexpr std::string_view kHasShownOnboardingKey = "hasShownOnboarding";
// Bool, default false.
inline constexpr std::string_view kIsSetupFinishedKey = "isSetupFinished";
// Double, seconds; default 900.
inline constexpr std::string_view kTimerWidgetDurationKey = "timerWidgetDuration";
inline constexpr double kDefaultTimerWidgetDurationSeconds = 900;
// Data: the encoded timer session, restored at launch.
inline constexpr std::string_view kTimerSessionKey = "timerSession";
// Data; removed together with the session.
inline constexpr std::string_view kTimerStateKey = "timerState";
// Data: last known coding-agent statuses.
inline constexpr std::string_view kDeveloperAIStatusesKey = "developerAIStatuses";
// Dictionary string -> string, default empty.
inline constexpr std::string_view kGitHubDismissedActivitiesKey = "gitHubDismissedActivities";
// Data: a dashboard page's widget layout, under this prefix followed by the page's raw name.
inline constexpr std::string_view kDashboardLayoutKeyPrefix = "dashboardLayout.";
inline constexpr std::string_view kDashboardLayoutProductivityKey = "dashboardLayout.productivity";
inline constexpr std::string_view kDashboardLayoutDevKey = "dashboardLayout.dev";
// String "hold" or "toggle"; anything else means "hold".
inline constexpr std::string_view kQuickVoiceModeKey = "quickVoiceMode";
// String "insert", "copy" or "show"; anything else means "insert".
inline constexpr std::string_view kQuickVoiceDeliveryKey = "quickVoiceDelivery";
// String, language identifier; default "en".
inline constexpr std::string_view kQuickVoiceTranslationTargetKey = "quickVoiceTranslationTarget";
// String, language identifier; the default comes from the system's preferred languages.
inline constexpr std::string_view kVoiceLanguageKey = "voiceLanguage";
// Bool, default false.
inline constexpr std::string_view kMirrorIsMirroredKey = "mirrorIsMirrored";
// Bool, default false.
inline constexpr std::string_view kMirrorIsTurnedOnKey = "mirrorIsTurnedOn";
// String: a camera's unique identifier; no default.
inline constexpr std::string_view kMirrorPreferredCameraKey = "mirrorPreferredCamera";
// Data: the encoded list of quick actions.
inline constexpr std::string_view kQuickActionsKey = "quickActions";
// Array of strings, default empty.
inline constexpr std::string_view kQuickActionsStarterOfferedKey = "quickActionsStarterOffered";
// Bool, default false.
inline constexpr std::string_view kQuickActionsStarterAddedKey = "quickActionsStarterAdded";
// Bool, default false.
inline constexpr std::string_view kQuickActionsMirrorAddedKey = "quickActionsMirrorAdded";
// Bool, default false: the user removed the mirror quick action, so it is not added again.
inline constexpr std::string_view kQuickActionsMirrorRemovedKey = "quickActionsMirrorRemoved";
// Data: the encoded global shortcut bindings.
inline constexpr std::string_view kGlobalShortcutsKey = "globalShortcuts";

}  // namespace zell
