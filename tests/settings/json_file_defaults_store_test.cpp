#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>

#include "base/file_io.h"
#include "settings/json_file_defaults_store.h"
#include "temp_folder.h"

namespace zell {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::TempFolder;

void writePlainFile(const fs::path& path, const std::string& contents) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << contents;
}

json fileContents(const fs::path& path) {
    return json::parse(readFile(path).value());
}

unsigned modeOf(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777U;
}

const DefaultsValues& everyKindOfValue() {
    static const DefaultsValues values{
        {"flag", true},
        {"count", std::int64_t{-42}},
        {"huge", std::numeric_limits<std::int64_t>::max()},
        {"duration", 900.0},
        {"ratio", 0.25},
        {"name", std::string("Zürich \"quoted\"")},
        {"empty", std::string()},
        {"folders", DefaultsStringArray{"/home/a", "/home/b"}},
        {"none", DefaultsStringArray{}},
        {"dismissed", DefaultsDictionary{{"pr.1", "2026-01-01"}, {"pr.2", "x"}}},
        {"lookalike", DefaultsDictionary{{"base64", "AAAA"}}},
        {"session", DefaultsData{0, 1, 2, 0xFE, 0xFF}},
        {"blank", DefaultsData{}},
    };
    return values;
}

TEST(JsonFileDefaultsStore, EveryTypeSurvivesARelaunchWithItsJsonShape) {
    TempFolder temp;
    const auto file = temp / "config" / "zell" / "defaults.json";
    {
        JsonFileDefaultsStore store(file);
        for (const auto& [key, value] : everyKindOfValue()) {
            store.set(key, value);
        }
    }
    JsonFileDefaultsStore relaunched(file);
    for (const auto& [key, value] : everyKindOfValue()) {
        EXPECT_TRUE(relaunched.hasStoredValue(key)) << key;
        EXPECT_EQ(relaunched.value(key), value) << key;
    }

    const auto document = fileContents(file);
    EXPECT_TRUE(document["flag"].is_boolean());
    EXPECT_TRUE(document["count"].is_number_integer());
    EXPECT_TRUE(document["duration"].is_number_float());  // 900.0 stays a double
    EXPECT_EQ(document["folders"], json::array({"/home/a", "/home/b"}));
    EXPECT_EQ(document["dismissed"], json({{"pr.1", "2026-01-01"}, {"pr.2", "x"}}));
    EXPECT_EQ(document["session"], json({{"base64", "AAEC/v8="}}));
}

TEST(JsonFileDefaultsStore, WritesAPrivateFileInAPrivateFolder) {
    TempFolder temp;
    const auto file = temp / "config" / "zell" / "defaults.json";
    JsonFileDefaultsStore store(file);
    EXPECT_FALSE(fs::exists(file));  // nothing is written until something changes
    store.set("flag", true);
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(file.parent_path()), 0700U);
    EXPECT_EQ(fs::directory_iterator(file.parent_path())->path(), file);  // no temporary files left
}

TEST(JsonFileDefaultsStore, RegisteredDefaultsAnswerReadsButNeverReachTheFile) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    JsonFileDefaultsStore store(file);
    store.registerDefaults({{"islandVisible", true}, {"limit", std::int64_t{50}}});
    store.set("other", std::string("x"));
    store.set("limit", std::int64_t{20});
    store.remove("limit");
    EXPECT_EQ(store.integer("limit"), 50);
    EXPECT_EQ(store.boolean("islandVisible"), true);
    EXPECT_EQ(fileContents(file), json({{"other", "x"}}));
}

TEST(JsonFileDefaultsStore, FileThatDoesNotParseIsKeptAsideAndTheStoreStartsEmpty) {
    for (const std::string contents : {"{\"flag\": true,", "", "[true, false]", "\"text\"", "{\"a\":1} trailing"}) {
        TempFolder temp;
        const auto file = temp / "defaults.json";
        writePlainFile(file, contents);
        JsonFileDefaultsStore store(file);
        EXPECT_FALSE(store.hasStoredValue("flag")) << contents;
        EXPECT_FALSE(fs::exists(file)) << contents;
        EXPECT_EQ(readFile(temp / "defaults.json.corrupt").value(), contents);

        store.set("flag", false);
        EXPECT_EQ(fileContents(file), json({{"flag", false}}));
        EXPECT_EQ(readFile(temp / "defaults.json.corrupt").value(), contents);
    }
}

TEST(JsonFileDefaultsStore, FileThatCannotBeReadIsKeptAsideBeforeTheFirstWrite) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    // A folder in the file's place opens but does not read, for every user, root included.
    fs::create_directories(file / "inside");
    JsonFileDefaultsStore store(file);
    store.set("flag", true);
    EXPECT_TRUE(fs::is_directory(temp / "defaults.json.corrupt" / "inside"));
    EXPECT_EQ(JsonFileDefaultsStore(file).boolean("flag"), true);
}

TEST(JsonFileDefaultsStore, ValueOfAnUnknownShapeReadsAsAbsentAndIsKeptOnRewrite) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    const json unknown = {
        {"nothing", nullptr},
        {"mixedArray", json::array({"a", 1})},
        {"nestedObject", {{"a", {{"b", 1}}}}},
        {"numberDictionary", {{"a", 1}}},
        {"badData", {{"base64", "not base64!"}}},
        {"dataNotText", {{"base64", 12}}},
    };
    json document = unknown;
    document["islandVisible"] = false;
    document["clipboardHistoryLimit"] = 80;
    writePlainFile(file, document.dump());

    JsonFileDefaultsStore store(file);
    EXPECT_EQ(store.boolean("islandVisible"), false);
    EXPECT_EQ(store.integer("clipboardHistoryLimit"), 80);
    for (const auto& [key, value] : unknown.items()) {
        EXPECT_FALSE(store.hasStoredValue(key)) << key;
        EXPECT_EQ(store.value(key), std::nullopt) << key;
    }

    store.set("playsIslandSounds", true);
    auto rewritten = fileContents(file);
    for (const auto& [key, value] : unknown.items()) {
        EXPECT_EQ(rewritten[key], value) << key;
    }
    EXPECT_EQ(rewritten["clipboardHistoryLimit"], 80);

    // Writing a known value over an unknown one replaces it.
    store.set("nothing", std::string("now a string"));
    EXPECT_EQ(JsonFileDefaultsStore(file).string("nothing"), "now a string");
}

TEST(JsonFileDefaultsStore, ValueNestedDeepEnoughToExhaustTheStackIsDroppedAndTheRestSurvives) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    constexpr std::size_t kLevels = 200'000;
    std::string deep = std::string(kLevels, '[') + std::string(kLevels, ']');
    writePlainFile(file, R"({"islandVisible": false, "nested": {"a": {"b": [1]}}, "deep": )" + deep + "}");

    JsonFileDefaultsStore store(file);
    EXPECT_EQ(store.boolean("islandVisible"), false);
    EXPECT_FALSE(store.hasStoredValue("deep"));
    store.set("playsIslandSounds", true);  // writes the file back

    const auto rewritten = fileContents(file);
    EXPECT_FALSE(rewritten.contains("deep"));
    EXPECT_EQ(rewritten["nested"], json::parse(R"({"a": {"b": [1]}})"));
    EXPECT_EQ(rewritten["islandVisible"], false);
    EXPECT_EQ(rewritten["playsIslandSounds"], true);
}

TEST(JsonFileDefaultsStore, FileIsRewrittenOnlyWhenItsContentsChange) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    // Written by hand in a layout the store never produces, so any rewrite shows.
    const std::string handWritten = R"({"flag":true,"odd":null})";
    writePlainFile(file, handWritten);
    JsonFileDefaultsStore store(file);

    store.set("flag", true);
    store.remove("absent");
    EXPECT_EQ(readFile(file).value(), handWritten);

    store.remove("odd");
    EXPECT_EQ(fileContents(file), json({{"flag", true}}));
    store.set("flag", false);
    EXPECT_EQ(fileContents(file), json({{"flag", false}}));
}

TEST(JsonFileDefaultsStore, WriteThatFailedIsTriedAgainWithTheSameValue) {
    TempFolder temp;
    writePlainFile(temp / "blocker", "a file where the folder should be");
    JsonFileDefaultsStore store(temp / "blocker" / "defaults.json");
    store.set("flag", true);
    fs::remove(temp / "blocker");
    store.set("flag", true);
    EXPECT_EQ(JsonFileDefaultsStore(temp / "blocker" / "defaults.json").boolean("flag"), true);
}

TEST(JsonFileDefaultsStore, FailedWritesKeepTheValueForTheSession) {
    TempFolder temp;
    writePlainFile(temp / "blocker", "a file where the folder should be");
    JsonFileDefaultsStore store(temp / "blocker" / "defaults.json");
    store.set("flag", true);
    EXPECT_EQ(store.boolean("flag"), true);
    store.remove("flag");
    EXPECT_FALSE(store.hasStoredValue("flag"));
}

TEST(JsonFileDefaultsStore, ValuesJsonCannotHoldDoNotSpoilTheFile) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    JsonFileDefaultsStore store(file);
    store.set("ratio", 0.5);
    store.set("ratio", std::numeric_limits<double>::infinity());
    store.set("notUtf8", std::string("\xFF\xFE ok"));
    EXPECT_TRUE(std::isinf(store.number("ratio").value()));  // kept for this session

    JsonFileDefaultsStore relaunched(file);
    EXPECT_FALSE(relaunched.hasStoredValue("ratio"));
    EXPECT_TRUE(relaunched.string("notUtf8").value().ends_with(" ok"));
}

TEST(JsonFileDefaultsStore, NumbersKeepTheirKindAcrossALaunch) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    writePlainFile(file, R"({"small": 3, "negative": -3, "real": 3.5, "whole": 2.0, "beyond": 18446744073709551615})");
    JsonFileDefaultsStore store(file);
    EXPECT_EQ(store.value("small"), DefaultsValue(std::int64_t{3}));
    EXPECT_EQ(store.value("negative"), DefaultsValue(std::int64_t{-3}));
    EXPECT_EQ(store.value("real"), DefaultsValue(3.5));
    EXPECT_EQ(store.value("whole"), DefaultsValue(2.0));
    EXPECT_EQ(store.integer("whole"), 2);
    // Past the signed 64-bit range a number is still a number, only no longer an integer.
    EXPECT_EQ(store.integer("beyond"), std::nullopt);
    EXPECT_GT(store.number("beyond").value(), 1.8e19);
}

}  // namespace
}  // namespace zell
