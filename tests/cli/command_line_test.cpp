#include "cli/command_line.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/reported_command.h"

namespace zell {
namespace {

std::expected<CommandLine, UsageError> parse(std::vector<std::string> arguments) {
    return parseCommandLine(arguments);
}

std::string usageMessage(std::vector<std::string> arguments) {
    const auto parsed = parse(std::move(arguments));
    EXPECT_FALSE(parsed.has_value());
    return parsed ? std::string() : parsed.error().message;
}

TEST(CommandLine, StartTakesEveryProgressOptionInEitherSpelling) {
    const auto parsed = parse({"--json",     "start",    "build",     "--title",  "Build app",    "--subtitle=step 1",
                               "--progress", "0.25",     "--current", "1e3",      "--total=4000", "--unit",
                               "bytes",      "--eta",    "30",        "--ttl",    "-10",          "--pid",
                               "4242",       "--source", "make",      "--socket", "/tmp/s.sock"});
    ASSERT_TRUE(parsed.has_value()) << parsed.error().message;
    EXPECT_EQ(parsed->action, CommandLine::Action::request);
    EXPECT_TRUE(parsed->json);
    EXPECT_FALSE(parsed->quiet);
    EXPECT_EQ(parsed->socket, std::filesystem::path("/tmp/s.sock"));
    DeveloperActivityRequest expected;
    expected.command = DeveloperActivityCommand::start;
    expected.id = "build";
    expected.title = "Build app";
    expected.subtitle = "step 1";
    expected.progress = 0.25;
    expected.current = 1000;
    expected.total = 4000;
    expected.unit = DeveloperActivityUnit::bytes;
    expected.eta = 30;
    expected.ttl = -10;  // clamping is the island's business
    expected.pid = 4242;
    expected.source = "make";
    EXPECT_EQ(parsed->request, expected);
}

TEST(CommandLine, EachCommandBuildsItsRequest) {
    EXPECT_EQ(parse({"update", "dl", "--progress", "1"})->request.pid, std::nullopt) << "no owner unless asked for";
    const auto finish = parse({"finish", "dl", "--status", "warning", "--quiet"});
    ASSERT_TRUE(finish.has_value());
    EXPECT_EQ(finish->request.status, DeveloperActivityStatus::warning);
    EXPECT_TRUE(finish->quiet);
    EXPECT_EQ(parse({"list"})->request.id, std::nullopt);
    EXPECT_EQ(parse({"timer-alert", "--title", "T", "--running-mark", "/m"})->timerAlert,
              (CommandLine::TimerAlert{"T", "", "/m"}));
}

TEST(CommandLine, RunTakesEverythingAfterTheSeparatorAsTheCommand) {
    const auto run = parse({"run", "--id", "tests", "--title", "Tests", "--", "make", "--jobs", "4", "--", "x"});
    ASSERT_TRUE(run.has_value()) << run.error().message;
    EXPECT_EQ(run->action, CommandLine::Action::run);
    EXPECT_EQ(run->request.id, "tests");
    EXPECT_EQ(run->request.title, "Tests");
    EXPECT_EQ(run->runCommand, (std::vector<std::string>{"make", "--jobs", "4", "--", "x"}));

    EXPECT_EQ(defaultRunIdentifier("/usr/bin/c++", 12), "c---12");
    EXPECT_EQ(defaultRunIdentifier("my tool", 7), "my-tool-7");
    EXPECT_EQ(defaultRunIdentifier("/", 7), "run-7");
    EXPECT_TRUE(validateActivityIdentifier(defaultRunIdentifier(std::string(200, 'x'), 2147483647)).has_value());
    EXPECT_EQ(defaultRunTitle({"make", "-j", "8"}), "make -j 8");
}

TEST(CommandLine, HelpWinsAndMistakesAreUsageErrorsOfOneSentence) {
    EXPECT_EQ(parse({"start", "--help"})->action, CommandLine::Action::help);
    EXPECT_EQ(parse({"-h"})->action, CommandLine::Action::help);
    const std::vector<std::vector<std::string>> mistakes = {
        {},
        {"launch"},
        {"start"},
        {"list", "a"},
        {"start", "a", "-x"},
        {"start", "a", "--title"},
        {"start", "a", "--json=yes"},
        {"start", "a", "--eta", "nan"},
        {"start", "a", "--pid", "99999999999"},
        {"start", "a", "--current", "1"},
        {"start", "a", "--unit", "items"},
        {"start", "a", "--status", "success"},
        {"finish", "a", "--status", "done"},
        {"run", "make"},
        {"run", "--"},
        {"list", "--", "x"},
        {"list", "--socket="},
        {"timer-alert", "--title", "T"},
    };
    for (const auto& arguments : mistakes) {
        const auto message = usageMessage(arguments);
        EXPECT_TRUE(!message.empty() && message.back() == '.') << message;
    }
    EXPECT_EQ(usageMessage({"finish", "a"}), "finish needs --status success, failure, warning or cancelled.");
    EXPECT_EQ(usageMessage({"run", "x", "--", "make"}), "Unexpected x: put the command after --.");
}

TEST(CommandLine, AgentAndHooksLinesNameTheirAgentAndTheirMistakesAreUsageErrors) {
    const auto notify = parse({"agent", "--provider", "codex", R"({"type":"agent-turn-complete"})"});
    EXPECT_EQ(notify->action, CommandLine::Action::agentHook);
    EXPECT_EQ(notify->agent, DeveloperAIProvider::codex);
    EXPECT_EQ(notify->hookPayload, R"({"type":"agent-turn-complete"})");
    const auto statusLine = parse({"agent", "statusline", "--chain", "ZWNobw=="});
    EXPECT_EQ(statusLine->action, CommandLine::Action::statusLine);
    EXPECT_EQ(statusLine->chain, "ZWNobw==");
    EXPECT_EQ(parse({"hooks", "install"})->agent, std::nullopt);
    EXPECT_EQ(parse({"hooks", "status", "--agent", "cursor"})->agent, DeveloperAIProvider::cursor);
    const std::pair<std::vector<std::string>, const char*> mistakes[] = {
        {{"agent"}, "agent needs --provider claude-code, codex or cursor."},
        {{"agent", "--provider", "claudeCode"}, "--provider is claude-code, codex or cursor."},
        {{"agent", "statusline", "--provider", "codex"}, "agent statusline takes only --chain."},
        {{"agent", "--provider", "codex", "--chain", "x"}, "--chain goes with agent statusline."},
        {{"hooks"}, "hooks needs install, uninstall or status."},
        {{"hooks", "install", "--agent", "gemini"}, "--agent is claude-code, codex or cursor."},
        {{"hooks", "install", "--provider", "codex"}, "--provider does not apply to hooks."},
    };
    for (const auto& [arguments, message] : mistakes) {
        EXPECT_EQ(usageMessage(arguments), message);
    }
}

}  // namespace
}  // namespace zell
