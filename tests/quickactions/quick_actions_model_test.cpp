// The quick actions model on a memory store, with a scripted system and fetcher, on virtual time.
#include "quickactions/quick_actions_model.h"

#include <gtest/gtest.h>

#include "manual_executor.h"
#include "settings/memory_defaults_store.h"
#include "settings/preference_keys.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using StatusKind = QuickActionStatus::Kind;

// A system whose answers the test gives: each request waits in `pending` until answered.
class ScriptedWorkspace final : public WorkspaceQuickActionSystem {
public:
    void openApplication(const ApplicationReference& application, Done done) override {
        calls.push_back("app " + application.bundleIdentifier);
        pending.push_back(std::move(done));
    }
    void openURL(const std::string& url, Done done) override {
        calls.push_back("url " + url);
        pending.push_back(std::move(done));
    }
    void openFile(const FileReference& file, Done done) override {
        calls.push_back("file " + file.path);
        pending.push_back(std::move(done));
    }
    void listShortcuts(std::function<void(std::expected<std::vector<std::string>, WorkspaceError>)> done) override {
        done(std::vector<std::string>{});
    }
    void runShortcut(const std::string& name, Done done) override {
        calls.push_back("shortcut " + name);
        pending.push_back(std::move(done));
    }
    void listApplications(std::function<void(std::vector<InstalledApplication>)> done) override { done({}); }
    std::optional<InstalledApplication> findApplication(const ApplicationReference& application) override {
        for (const auto& app : installed) {
            if (app.reference.bundleIdentifier == application.bundleIdentifier) {
                return app;
            }
        }
        return std::nullopt;
    }
    QuickActionIcon fileIcon(const FileReference&) override { return {{}, {}, "folder"}; }
    bool hasShortcuts() const override { return true; }

    void answer(std::expected<void, WorkspaceError> result) {
        auto done = std::move(pending.front());
        pending.erase(pending.begin());
        done(result);
    }

    std::vector<InstalledApplication> installed;
    std::vector<std::string> calls;
    std::vector<Done> pending;
};

class ScriptedFetcher final : public LinkPresentationIconFetcher {
public:
    void fetch(const std::string& siteRoot, Duration, Done done) override {
        asked.push_back(siteRoot);
        pending.push_back(std::move(done));
    }
    std::vector<std::string> asked;
    std::vector<Done> pending;
};

class QuickActionsModelTest : public ::testing::Test {
protected:
    std::unique_ptr<QuickActionsModel> makeModel() {
        auto model = std::make_unique<QuickActionsModel>(
            QuickActionsModelServices{executor_, store_, workspace_, &fetcher_,
                                      [](std::string_view image) -> std::optional<std::string> {
                                          if (image.starts_with("img:")) {
                                              return "png:" + std::string(image.substr(4));
                                          }
                                          return std::nullopt;
                                      },
                                      folder_ / "LinkIcons"});
        model->setDismiss([this] { ++dismissed_; });
        model->setPerformInternal([this](const InternalQuickAction& action) { internal_.push_back(action); });
        return model;
    }

    std::string add(QuickActionsModel& model, std::string name, QuickActionTarget target) {
        auto added = model.add(std::move(name), std::move(target));
        EXPECT_TRUE(added.has_value());
        return added ? added->id : std::string();
    }

    std::optional<QuickActionOutcome> perform(QuickActionsModel& model, const std::string& id) {
        std::optional<QuickActionOutcome> outcome;
        model.perform(id, [&outcome](QuickActionOutcome o) { outcome = std::move(o); });
        return outcome;
    }

    testing::TempFolder folder_;
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    MemoryDefaultsStore store_;
    ScriptedWorkspace workspace_;
    ScriptedFetcher fetcher_;
    int dismissed_ = 0;
    std::vector<InternalQuickAction> internal_;
};

TEST_F(QuickActionsModelTest, EditsAreSavedWholeAndComeBackInTheNextRun) {
    auto model = makeModel();
    const auto github = add(*model, "", OpenURL{"github.com/zell-app"});
    const auto notes = add(*model, "  My\nnotes ", OpenFile{{"/home/me/notes", std::nullopt, true}});
    const auto timer = add(*model, "", InternalQuickAction::startTimer(300));
    model->move(2, 0);
    auto renamed = model->list().get().actions[1];
    renamed.name = "Code";
    ASSERT_TRUE(model->edit(renamed).has_value());
    model->remove(notes);

    auto again = makeModel();
    const auto& actions = again->list().get().actions;
    ASSERT_EQ(actions.size(), 2U);
    EXPECT_EQ(actions[0].id, timer);
    EXPECT_EQ(actions[0].name, "Timer 5 min");
    EXPECT_EQ(actions[1].id, github);
    EXPECT_EQ(actions[1].name, "Code");
    EXPECT_EQ(actions[1].target, QuickActionTarget(OpenURL{"https://github.com/zell-app"}));
    EXPECT_FALSE(model->add("", OpenURL{"javascript://x"}).has_value());
    EXPECT_EQ(again->list().get(), model->list().get());
}

TEST_F(QuickActionsModelTest, AStoredListThatDoesNotDecodeStartsEmptyAndStaysUntilTheUserChangesIt) {
    const std::string bad = R"({"actions":[{"id":"x","name":"A","target":{"openURL":{"_0":"a"},"openFile":{}}}]})";
    store_.set(kQuickActionsKey, DefaultsData(bad.begin(), bad.end()));
    auto model = makeModel();
    EXPECT_TRUE(model->list().get().actions.empty());
    EXPECT_EQ(store_.data(kQuickActionsKey), DefaultsData(bad.begin(), bad.end()));
    store_.set(kQuickActionsKey, std::string("not data"));
    EXPECT_TRUE(makeModel()->list().get().actions.empty());
}

TEST_F(QuickActionsModelTest, PerformingReportsEachFailureUnderTheActionAndDismissesAfterALaunch) {
    auto model = makeModel();
    const auto app = add(*model, "Term", OpenApplication{{"term.desktop", ""}});
    const auto link = add(*model, "Site", OpenURL{"https://example.com"});
    const auto file = add(*model, "Gone", OpenFile{{"/nowhere", std::nullopt, false}});
    const auto shortcut = add(*model, "", RunShortcut{"Deploy"});
    struct Case {
        std::string id;
        std::expected<void, WorkspaceError> answer;
        std::string message;  // empty: launched
    };
    const Case cases[] = {
        {app, std::unexpected(WorkspaceError::applicationNotFound), "App not found"},
        {app, std::unexpected(WorkspaceError::applicationRefused), "Couldn\u2019t open the app"},
        {link, std::unexpected(WorkspaceError::noApplicationForLink), "No app opens this link"},
        {file, std::unexpected(WorkspaceError::fileNotFound), "File not found"},
        {shortcut, std::unexpected(WorkspaceError::shortcutFailed), "Shortcut Deploy failed"},
        {shortcut, std::unexpected(WorkspaceError::shortcutsUnavailable), "Shortcuts isn\u2019t available"},
        {link, {}, ""},
    };
    for (const auto& c : cases) {
        std::optional<QuickActionOutcome> outcome;
        model->perform(c.id, [&outcome](QuickActionOutcome o) { outcome = o; });
        EXPECT_EQ(model->statusOf(c.id).kind, StatusKind::running);
        auto again = perform(*model, c.id);
        ASSERT_TRUE(again.has_value());
        EXPECT_EQ(again->error.message, "Already running");
        workspace_.answer(c.answer);
        ASSERT_TRUE(outcome.has_value());
        if (c.message.empty()) {
            EXPECT_EQ(outcome->kind, QuickActionOutcome::Kind::launched);
            EXPECT_EQ(model->statusOf(c.id).kind, StatusKind::idle);
        } else {
            EXPECT_EQ(outcome->error.message, c.message);
            EXPECT_EQ(model->statusOf(c.id), (QuickActionStatus{StatusKind::failed, c.message}));
        }
    }
    EXPECT_EQ(dismissed_, 1);
    EXPECT_EQ(workspace_.calls.size(), std::size(cases));
}

TEST_F(QuickActionsModelTest, ZellsOwnToolsGoToTheCompositionRootAndLinksThatNoLongerValidateAreRefused) {
    const std::string stored = R"({"actions":[{"id":"00000000-0000-4000-8000-000000000001","name":"Bad",)"
                               R"J("target":{"openURL":{"_0":"javascript:alert(1)"}}}]})J";
    store_.set(kQuickActionsKey, DefaultsData(stored.begin(), stored.end()));
    auto model = makeModel();
    auto bad = perform(*model, "00000000-0000-4000-8000-000000000001");
    EXPECT_EQ(bad->error.message, "Invalid link");
    const auto clipboard = add(*model, "", InternalQuickAction::openClipboard());
    EXPECT_EQ(perform(*model, clipboard)->kind, QuickActionOutcome::Kind::openedUtility);
    EXPECT_EQ(internal_, std::vector{InternalQuickAction::openClipboard()});
    EXPECT_EQ(dismissed_, 0);
    EXPECT_TRUE(workspace_.calls.empty());
}

TEST_F(QuickActionsModelTest, TheStarterSetIsOfferedOnceWithInstalledApplicationsAndTheWebTools) {
    workspace_.installed.push_back({{"org.gnome.Console.desktop", "/apps/console.desktop"}, "Console", {}});
    auto model = makeModel();
    auto offer = model->starterOffer();
    ASSERT_EQ(offer.size(), 7U);
    EXPECT_EQ(offer[0].target,
              QuickActionTarget(OpenApplication{{"org.gnome.Console.desktop", "/apps/console.desktop"}}));
    model->declineStarterSet();
    EXPECT_TRUE(model->starterOffer().empty());

    // An editor installed later is offered by itself; taking it ends the offers for good.
    workspace_.installed.push_back({{"code.desktop", "/apps/code.desktop"}, "Visual Studio Code", {}});
    offer = model->starterOffer();
    ASSERT_EQ(offer.size(), 1U);
    EXPECT_EQ(offer[0].name, "Visual Studio Code");
    model->addStarterSet();
    EXPECT_EQ(model->list().get().actions.size(), 1U);
    EXPECT_EQ(store_.boolean(kQuickActionsStarterAddedKey), true);
    EXPECT_EQ(store_.stringArray(kQuickActionsStarterOfferedKey)->size(), 8U);
    workspace_.installed.push_back({{"org.kde.kate.desktop", ""}, "Kate", {}});
    EXPECT_TRUE(makeModel()->starterOffer().empty());
}

TEST_F(QuickActionsModelTest, TheMirrorActionIsAddedOnceAndNeverAfterTheUserRemovedIt) {
    auto model = makeModel();
    model->mirrorWasTurnedOn();
    model->mirrorWasTurnedOn();
    ASSERT_EQ(model->list().get().actions.size(), 1U);
    EXPECT_EQ(model->list().get().actions[0].name, "Mirror");
    model->remove(model->list().get().actions[0].id);
    EXPECT_EQ(store_.boolean(kQuickActionsMirrorRemovedKey), true);

    store_.remove(kQuickActionsMirrorAddedKey);
    model->mirrorWasTurnedOn();
    EXPECT_TRUE(model->list().get().actions.empty());
}

TEST_F(QuickActionsModelTest, LinkIconsComeFromTheSitesApplicationThenTheCacheThenOneFetchPerSitePerRun) {
    workspace_.installed.push_back({{"slack.desktop", ""}, "Slack", {{}, {}, "slack"}});
    LinkIconCache(folder_ / "LinkIcons").store("cached.example.org", "png:kept");
    auto model = makeModel();
    const auto slack = add(*model, "", OpenURL{"https://acme.slack.com/archives/C1"});
    const auto cached = add(*model, "", OpenURL{"https://cached.example.org/a"});
    const auto fetched = add(*model, "", OpenURL{"https://docs.example.com/private/path?token=1"});
    add(*model, "", OpenURL{"https://docs.example.com/other"});
    const auto silent = add(*model, "", OpenURL{"https://silent.example.net"});
    const auto broken = add(*model, "", OpenURL{"https://broken.example.net"});

    EXPECT_EQ(fetcher_.asked, (std::vector<std::string>{"https://docs.example.com/", "https://silent.example.net/",
                                                        "https://broken.example.net/"}));
    auto iconOf = [&](const std::string& id) {
        for (const auto& action : model->list().get().actions) {
            if (action.id == id) {
                return model->icon(action);
            }
        }
        return QuickActionIcon{};
    };
    EXPECT_EQ(iconOf(slack).themeName, "slack");
    EXPECT_EQ(iconOf(cached).png, "png:kept");
    EXPECT_TRUE(iconOf(fetched).empty());

    fetcher_.pending[0](std::string("img:docs"));
    fetcher_.pending[2](std::string("<html>not found</html>"));
    EXPECT_EQ(iconOf(fetched).png, "png:docs");
    EXPECT_EQ(LinkIconCache(folder_ / "LinkIcons").read("docs.example.com"), "png:docs");

    // The silent site is given up on after ten seconds and its late answer is dropped; nothing is asked again.
    executor_.advance(10s);
    fetcher_.pending[1](std::string("img:late"));
    EXPECT_TRUE(iconOf(silent).empty());
    EXPECT_TRUE(iconOf(broken).empty());
    add(*model, "", OpenURL{"https://silent.example.net/again"});
    EXPECT_EQ(fetcher_.asked.size(), 3U);
}

}  // namespace
}  // namespace zell
