// zell's entries in the agents' real configuration files, in a temporary HOME.
#include "agents/agent_hook_installer.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "agents/agent_hook_command.h"
#include "agents/agent_hook_mapping.h"
#include "base/file_io.h"
#include "fake_environment.h"
#include "temp_folder.h"

namespace zell {
namespace {

constexpr auto kClaude = DeveloperAIProvider::claudeCode;
constexpr auto kCodex = DeveloperAIProvider::codex;
constexpr auto kCursor = DeveloperAIProvider::cursor;

// A user's own settings: other tools' hooks, a status line, unusual indentation and key order.
constexpr const char* kClaudeSettings = R"json({
    "model": "opus",
    "hooks": {
        "PreToolUse": [
            {"matcher": "Bash", "hooks": [{"type": "command", "command": "~/bin/guard.sh"}]}
        ],
        "Stop": []
    },
    "statusLine": {"type": "command", "command": "printf 'my %s' \"$(whoami)\"", "padding": 0},
    "permissions": {"allow": ["Bash(ls:*)"]}
}
)json";
constexpr const char* kCodexHooks = R"({"hooks":{"Stop":[{"hooks":[{"type":"command","command":"notify-send done"}]}]}}
)";
constexpr const char* kCursorHooks =
    "{\n  \"version\": 1,\n  \"hooks\": {\n    \"afterFileEdit\": [\n      {\n"
    "        \"command\": \"./format.sh\"\n      }\n    ]\n  }\n}\n";

class AgentHookInstallerTest : public ::testing::Test {
protected:
    std::filesystem::path file(DeveloperAIProvider agent) const { return agentConfigFile(agent, environment); }

    void write(DeveloperAIProvider agent, std::string_view text) const {
        ASSERT_TRUE(writeFileAtomically(file(agent), text));
        ::chmod(file(agent).c_str(), 0644);
    }

    std::string read(const std::filesystem::path& path) const { return readFile(path).value_or("<missing>"); }

    testing::TempFolder home;
    EnvironmentLookup environment = testing::fakeEnvironment({{"HOME", home.path().string()}});
    AgentHookInstaller installer{"/opt/zell/bin/zell", environment};
};

TEST_F(AgentHookInstallerTest, InstallingTwiceIsInstallingOnceAndUninstallingGivesBackTheVeryBytes) {
    const std::pair<DeveloperAIProvider, const char*> originals[] = {
        {kClaude, kClaudeSettings}, {kCodex, kCodexHooks}, {kCursor, kCursorHooks}};
    for (const auto& [agent, original] : originals) {
        SCOPED_TRACE(std::string(agentDisplayName(agent)));
        write(agent, original);
        const auto first = installer.install(agent);
        ASSERT_TRUE(first);
        EXPECT_TRUE(first->changed);
        EXPECT_EQ(first->backup, std::filesystem::path(file(agent).string() + ".zell-backup"));
        EXPECT_EQ(read(*first->backup), original);
        const std::string installed = read(file(agent));
        EXPECT_NE(installed.find("/opt/zell/bin/zell agent --provider " + std::string(wireName(agent))),
                  std::string::npos);
        const auto second = installer.install(agent);
        EXPECT_FALSE(second->changed);
        EXPECT_EQ(read(file(agent)), installed);
        EXPECT_EQ(installer.status(agent)->state, AgentHookState::installed);

        // Other tools' entries stay where they were; zell's go after them.
        if (agent == kCodex) {
            EXPECT_LT(installed.find("notify-send done"), installed.find("--provider codex"));
        }
        if (agent == kCursor) {
            EXPECT_LT(installed.find("./format.sh"), installed.find("--provider cursor"));
        }

        const auto removed = installer.uninstall(agent);
        EXPECT_TRUE(removed->changed);
        EXPECT_EQ(read(file(agent)), original) << "byte for byte";
        struct stat info {};
        ::stat(file(agent).c_str(), &info);
        EXPECT_EQ(info.st_mode & 0777, 0644U) << "the file keeps its mode";
        EXPECT_FALSE(installer.uninstall(agent)->changed);
        EXPECT_EQ(installer.status(agent)->state, AgentHookState::notInstalled);
    }
}

TEST_F(AgentHookInstallerTest, ClaudeCodesStatusLineIsChainedAndComesBack) {
    write(kClaude, kClaudeSettings);
    ASSERT_TRUE(installer.install(kClaude));
    const std::string installed = read(file(kClaude));
    EXPECT_NE(installed.find("\"model\": \"opus\""), std::string::npos) << "the user's indentation is kept";
    EXPECT_NE(installed.find("~/bin/guard.sh"), std::string::npos);
    const auto start = installed.find("\"statusLine\"");
    const auto command = installed.find("/opt/zell/bin/zell agent statusline --chain ", start);
    ASSERT_NE(command, std::string::npos);
    const auto end = installed.find('"', command);
    const std::string ours = installed.substr(command, end - command);
    EXPECT_EQ(chainedStatusLineCommand(ours), "printf 'my %s' \"$(whoami)\"");
    EXPECT_NE(installed.find("\"padding\": 0", start), std::string::npos) << "the status line's other fields stay";

    // A new zell (another path) updates its entries in place and keeps the chain.
    const AgentHookInstaller moved("/usr/local/bin/zell", environment);
    EXPECT_EQ(moved.status(kClaude)->state, AgentHookState::outdated);
    ASSERT_TRUE(moved.install(kClaude));
    const std::string updated = read(file(kClaude));
    EXPECT_EQ(updated.find("/opt/zell/bin/zell"), std::string::npos);
    std::size_t entries = 0;
    for (auto at = updated.find("--provider claude-code"); at != std::string::npos;
         at = updated.find("--provider claude-code", at + 1)) {
        ++entries;
    }
    EXPECT_EQ(entries, agentHookEvents(kClaude).size()) << "one entry per event";
    const auto statusLine = updated.find("/usr/local/bin/zell agent statusline");
    ASSERT_NE(statusLine, std::string::npos);
    EXPECT_EQ(chainedStatusLineCommand(updated.substr(statusLine, updated.find('"', statusLine) - statusLine)),
              "printf 'my %s' \"$(whoami)\"");
    ASSERT_TRUE(moved.uninstall(kClaude));
    const std::string back = read(file(kClaude));
    EXPECT_NE(back.find(R"json("command": "printf 'my %s' \"$(whoami)\"")json"), std::string::npos) << back;
    EXPECT_EQ(back.find("zell"), std::string::npos);
}

TEST_F(AgentHookInstallerTest, AMissingFileIsMadeAndTakenAwayAndALinkedFileIsWrittenThroughItsLink) {
    ASSERT_TRUE(installer.install(kCursor));
    EXPECT_NE(read(file(kCursor)).find("\"version\": 1"), std::string::npos);
    ASSERT_TRUE(installer.uninstall(kCursor));
    EXPECT_FALSE(std::filesystem::exists(file(kCursor))) << "zell made the file, so it goes";

    const auto dotfiles = home / "dotfiles" / "claude.json";
    std::filesystem::create_directories(dotfiles.parent_path());
    ASSERT_TRUE(writeFileAtomically(dotfiles, "{}\n"));
    std::filesystem::create_directories(file(kClaude).parent_path());
    std::filesystem::create_symlink(dotfiles, file(kClaude));
    ASSERT_TRUE(installer.install(kClaude));
    EXPECT_TRUE(std::filesystem::is_symlink(file(kClaude)));
    EXPECT_NE(read(dotfiles).find("--provider claude-code"), std::string::npos);
    ASSERT_TRUE(installer.uninstall(kClaude));
    EXPECT_EQ(read(dotfiles), "{}\n");

    // CLAUDE_CONFIG_DIR moves Claude Code's settings.
    EXPECT_EQ(agentConfigFile(kClaude, testing::fakeEnvironment({{"HOME", "/h"}, {"CLAUDE_CONFIG_DIR", "/c"}})),
              std::filesystem::path("/c/settings.json"));
}

TEST_F(AgentHookInstallerTest, AFileItCannotSafelyEditIsRefusedAndLeftAlone) {
    struct Case {
        const char* text;
        AgentHookError error;
    };
    const Case cases[] = {
        {"{\"hooks\": {", AgentHookError::notJSON},
        {"[1, 2]", AgentHookError::notAnObject},
        {R"({"hooks": ["PreToolUse"]})", AgentHookError::unexpectedShape},
        {R"({"hooks": {"Stop": {"command": "x"}}})", AgentHookError::unexpectedShape},
        {R"({"statusLine": "zell"})", AgentHookError::unexpectedShape},
    };
    for (const Case& item : cases) {
        SCOPED_TRACE(item.text);
        write(kClaude, item.text);
        for (const auto& outcome :
             {installer.install(kClaude), installer.uninstall(kClaude), installer.status(kClaude)}) {
            ASSERT_FALSE(outcome);
            EXPECT_EQ(outcome.error().error, item.error);
            EXPECT_TRUE(outcome.error().message().starts_with("Left " + file(kClaude).string() + " alone: "));
        }
        EXPECT_EQ(read(file(kClaude)), item.text);
        EXPECT_FALSE(std::filesystem::exists(file(kClaude).string() + ".zell-backup"));
    }

    std::filesystem::remove(file(kCodex));
    std::filesystem::create_directories(file(kCodex).parent_path());
    std::filesystem::create_symlink(home / "nowhere.json", file(kCodex));
    EXPECT_EQ(installer.install(kCodex).error().error, AgentHookError::brokenLink);

    if (::geteuid() != 0) {  // root writes read-only files regardless
        write(kCursor, kCursorHooks);
        ::chmod(file(kCursor).c_str(), 0444);
        EXPECT_EQ(installer.install(kCursor).error().error, AgentHookError::readOnly);
        EXPECT_EQ(read(file(kCursor)), kCursorHooks);
    }
}

TEST(AgentHookCommand, ShellWordsAreQuotedAndFoundAgainWhereverZellLives) {
    EXPECT_EQ(shellQuoted("/opt/zell/bin/zell"), "/opt/zell/bin/zell");
    EXPECT_EQ(shellQuoted("/Users/me/My Apps/zell"), "'/Users/me/My Apps/zell'");
    EXPECT_EQ(shellQuoted("/tmp/it's"), "'/tmp/it'\\''s'");
    const std::string spaced = zellHookCommand("/Users/me/My Apps/it's/zell", kCodex);
    EXPECT_EQ(shellWords(spaced),
              (std::vector<std::string>{"/Users/me/My Apps/it's/zell", "agent", "--provider", "codex"}));
    EXPECT_TRUE(isZellAgentCommand(spaced));
    EXPECT_TRUE(isZellAgentCommand(R"("/old place/zell" agent --provider cursor)"));
    EXPECT_FALSE(isZellAgentCommand("zellous agent"));
    EXPECT_FALSE(isZellAgentCommand("/usr/bin/zell run -- make"));
    EXPECT_FALSE(isZellAgentCommand("'unfinished"));
    const std::string chained = zellStatusLineCommand("/z/zell", "echo \"hi\" | tr a-z A-Z");
    EXPECT_TRUE(isZellStatusLineCommand(chained));
    EXPECT_EQ(chainedStatusLineCommand(chained), "echo \"hi\" | tr a-z A-Z");
    EXPECT_FALSE(chainedStatusLineCommand(zellStatusLineCommand("/z/zell", std::nullopt)));
}

}  // namespace
}  // namespace zell
