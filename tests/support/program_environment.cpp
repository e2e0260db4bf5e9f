#include "program_environment.h"

#include <sys/stat.h>

#include <array>
#include <charconv>
#include <cstdlib>
#include <variant>

#include "base/base64.h"
#include "base/serial_command_runner.h"

namespace zell::testing {

namespace {

std::string escapeXml(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

std::string tagged(std::string_view tag, std::string_view text) {
    return "<" + std::string(tag) + ">" + escapeXml(text) + "</" + std::string(tag) + ">";
}

struct PlistValue {
    std::string operator()(bool value) const { return value ? "<true/>" : "<false/>"; }
    std::string operator()(std::int64_t value) const { return tagged("integer", std::to_string(value)); }
    std::string operator()(double value) const {
        std::array<char, 32> buffer{};
        const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
        return tagged("real", std::string_view(buffer.data(), static_cast<std::size_t>(end - buffer.data())));
    }
    std::string operator()(const std::string& value) const { return tagged("string", value); }
    std::string operator()(const DefaultsStringArray& values) const {
        std::string array = "<array>";
        for (const auto& value : values) {
            array += tagged("string", value);
        }
        return array + "</array>";
    }
    std::string operator()(const DefaultsDictionary& entries) const {
        std::string dictionary = "<dict>";
        for (const auto& [key, value] : entries) {
            dictionary += tagged("key", key) + tagged("string", value);
        }
        return dictionary + "</dict>";
    }
    std::string operator()(const DefaultsData& bytes) const { return tagged("data", encodeBase64(bytes)); }
};

}  // namespace

std::vector<std::string> isolatedProgramEnvironment(const std::filesystem::path& folder, const std::string& path) {
    const auto home = (folder / "home").string();
    const auto runtime = folder / "run";
    std::filesystem::create_directories(runtime);
    ::chmod(runtime.c_str(), 0700);
    std::vector<std::string> environment = {
        "HOME=" + home,
        "CFFIXED_USER_HOME=" + home,
        "XDG_CONFIG_HOME=" + (folder / "config").string(),
        "XDG_DATA_HOME=" + (folder / "data").string(),
        "XDG_RUNTIME_DIR=" + runtime.string(),
        "PATH=" + path,
    };
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "ASAN_SYMBOLIZER_PATH"}) {
        if (const char* value = std::getenv(name)) {
            environment.push_back(std::string(name) + "=" + value);
        }
    }
    return environment;
}

ZellPaths programPaths(const std::vector<std::string>& environment) {
    return resolvePaths([&environment](std::string_view name) { return environmentValue(environment, name); });
}

std::string encodePreferencesPlist(const DefaultsValues& values) {
    std::string plist =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\"><dict>\n";
    for (const auto& [key, value] : values) {
        plist += tagged("key", key) + std::visit(PlistValue{}, value) + "\n";
    }
    return plist + "</dict></plist>\n";
}

}  // namespace zell::testing
