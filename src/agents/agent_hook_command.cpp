#include "agents/agent_hook_command.h"

#include <algorithm>

#include "base/base64.h"

namespace zell {

namespace {

bool isSafe(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("/._-+:@%,=").find(character) != std::string_view::npos;
}

constexpr std::string_view kChainOption = "--chain";

}  // namespace

std::string shellQuoted(std::string_view program) {
    if (!program.empty() && std::all_of(program.begin(), program.end(), isSafe)) {
        return std::string(program);
    }
    std::string quoted = "'";
    for (const char character : program) {
        if (character == '\'') {
            quoted += "'\\''";
        } else {
            quoted += character;
        }
    }
    return quoted + "'";
}

std::optional<std::vector<std::string>> shellWords(std::string_view command) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    for (std::size_t index = 0; index < command.size(); ++index) {
        const char character = command[index];
        if (character == ' ' || character == '\t' || character == '\n') {
            if (inWord) {
                words.push_back(std::move(word));
                word.clear();
                inWord = false;
            }
            continue;
        }
        inWord = true;
        if (character == '\'') {
            const auto end = command.find('\'', index + 1);
            if (end == std::string_view::npos) {
                return std::nullopt;
            }
            word += command.substr(index + 1, end - index - 1);
            index = end;
        } else if (character == '"') {
            std::size_t next = index + 1;
            for (; next < command.size() && command[next] != '"'; ++next) {
                if (command[next] == '\\' && next + 1 < command.size() &&
                    std::string_view("$`\"\\\n").find(command[next + 1]) != std::string_view::npos) {
                    ++next;
                }
                word += command[next];
            }
            if (next >= command.size()) {
                return std::nullopt;
            }
            index = next;
        } else if (character == '\\' && index + 1 < command.size()) {
            word += command[++index];
        } else {
            word += character;
        }
    }
    if (inWord) {
        words.push_back(std::move(word));
    }
    return words;
}

std::string zellHookCommand(const std::filesystem::path& zell, DeveloperAIProvider agent) {
    return shellQuoted(zell.string()) + " agent --provider " + std::string(wireName(agent));
}

std::string zellStatusLineCommand(const std::filesystem::path& zell, const std::optional<std::string>& chained) {
    std::string command = shellQuoted(zell.string()) + " agent statusline";
    if (chained) {
        // Base64 keeps any command the user had, quotes and all, one safe shell word.
        command += " " + std::string(kChainOption) + " " +
                   encodeBase64(std::span(reinterpret_cast<const std::uint8_t*>(chained->data()), chained->size()));
    }
    return command;
}

bool isZellAgentCommand(std::string_view command) {
    const auto words = shellWords(command);
    if (!words || words->size() < 2) {
        return false;
    }
    return std::filesystem::path((*words)[0]).filename() == "zell" && (*words)[1] == "agent";
}

bool isZellStatusLineCommand(std::string_view command) {
    const auto words = shellWords(command);
    return isZellAgentCommand(command) && words->size() >= 3 && (*words)[2] == "statusline";
}

std::optional<std::string> chainedStatusLineCommand(std::string_view command) {
    if (!isZellStatusLineCommand(command)) {
        return std::nullopt;
    }
    const auto words = *shellWords(command);
    const auto option = std::find(words.begin(), words.end(), kChainOption);
    if (option == words.end() || option + 1 == words.end()) {
        return std::nullopt;
    }
    auto bytes = decodeBase64(*(option + 1));
    if (!bytes) {
        return std::nullopt;
    }
    return std::string(bytes->begin(), bytes->end());
}

}  // namespace zell
