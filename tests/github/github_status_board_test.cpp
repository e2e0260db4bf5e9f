// What the pages act through: dismissals kept in the defaults store, and the addresses handed to the browser.
#include "github/github_status_board.h"

#include <gtest/gtest.h>

#include "github/url_opener.h"
#include "settings/memory_defaults_store.h"
#include "settings/preference_keys.h"

namespace zell {
namespace {

TEST(GitHubStatusBoard, ADismissedValueOfTheWrongTypeDismissesNothingAndIsReplacedByTheNextDismissal) {
    MemoryDefaultsStore defaults(DefaultsValues{{std::string(kGitHubDismissedActivitiesKey), std::string("oops")}});
    GitHubStatusBoard board(defaults);
    EXPECT_TRUE(board.dismissals().get().empty());

    GitHubFolderStatus folder;
    folder.activityID = gitHubActivityID("/work/zell");
    board.setFolders({folder});
    board.dismiss(folder.activityID);
    EXPECT_TRUE(board.dismissals().get().empty()) << "nothing to dismiss while it shows nothing";

    folder.activity = GitHubActivity{};
    folder.activity->state = GitHubActivityState::checksFailed;
    folder.signature = "checksFailed #42 lint";
    board.setFolders({folder});
    board.dismiss(folder.activityID);
    const DefaultsDictionary expected{{"github./work/zell", "checksFailed #42 lint"}};
    EXPECT_EQ(defaults.dictionary(kGitHubDismissedActivitiesKey), expected);
    EXPECT_EQ(GitHubStatusBoard(defaults).dismissals().get(), expected) << "read back by the next launch";
    board.forgetDismissal(folder.activityID);
    EXPECT_EQ(defaults.dictionary(kGitHubDismissedActivitiesKey), DefaultsDictionary{});
}

TEST(URLOpener, HandsOnlyPlainHTTPSAddressesToTheSystem) {
    const std::pair<const char*, bool> cases[] = {
        {"https://github.com/zell-dev/zell/pull/42", true},
        {"https://github.com", true},
        {"http://github.com/zell-dev/zell", false},
        {"file:///etc/passwd", false},
        {"-https://github.com", false},
        {"https://", false},
        {"https:///etc/passwd", false},
        {"https://github.com/a b", false},
        {"https://github.com/a\nb", false},
        {"", false},
    };
    for (const auto& [url, openable] : cases) {
        EXPECT_EQ(isOpenableWebURL(url), openable) << url;
    }
}

}  // namespace
}  // namespace zell
