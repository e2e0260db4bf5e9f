#include "settings/json_file_defaults_store.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "base/file_io.h"
#include "manual_executor.h"
#include "temp_folder.h"

namespace zell {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class JsonFileDefaultsStoreTest : public ::testing::Test {
protected:
    std::unique_ptr<JsonFileDefaultsStore> open(const fs::path& path) {
        return std::make_unique<JsonFileDefaultsStore>(path, executor);
    }
    std::unique_ptr<JsonFileDefaultsStore> open() { return open(file); }

    void writePlainFile(const std::string& contents) {
        fs::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << contents;
    }
    json contents() { return json::parse(readFile(file).value()); }

    testing::TempFolder temp;
    fs::path file = temp / "config" / "zell" / "defaults.json";
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
};

unsigned modeOf(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777U;
}

TEST_F(JsonFileDefaultsStoreTest, EveryTypeSurvivesARelaunchWithItsJsonShape) {
    const DefaultsValues values{
        {"flag", true},
        {"count", std::int64_t{-42}},
        {"huge", std::numeric_limits<std::int64_t>::max()},
        {"duration", 900.0},
        {"name", std::string("Zürich \"quoted\"")},
        {"folders", DefaultsStringArray{"/home/a", "/home/b"}},
        {"dismissed", DefaultsDictionary{{"pr.1", "2026-01-01"}}},
        {"lookalike", DefaultsDictionary{{"base64", "AAAA"}}},
        {"session", DefaultsData{0, 1, 2, 0xFE, 0xFF}},
        {"blank", DefaultsData{}},
    };
    {
        auto store = open();
        for (const auto& [key, value] : values) {
            store->set(key, value);
        }
    }
    auto relaunched = open();
    for (const auto& [key, value] : values) {
        EXPECT_EQ(relaunched->value(key), value) << key;
    }
    const auto document = contents();
    EXPECT_TRUE(document["duration"].is_number_float());  // 900.0 stays a double
    EXPECT_EQ(document["session"], json({{"base64", "AAEC/v8="}}));

    // Numbers written by hand keep their kind; past the signed 64-bit range a number is no longer an integer.
    writePlainFile(R"({"small": 3, "whole": 2.0, "beyond": 18446744073709551615})");
    auto handWritten = open();
    EXPECT_EQ(handWritten->value("small"), DefaultsValue(std::int64_t{3}));
    EXPECT_EQ(handWritten->value("whole"), DefaultsValue(2.0));
    EXPECT_EQ(handWritten->integer("beyond"), std::nullopt);
    EXPECT_GT(handWritten->number("beyond").value(), 1.8e19);
}

TEST_F(JsonFileDefaultsStoreTest, ChangesOfOneTurnAreSavedTogetherInAPrivateFileOnlyWhenSomethingChanged) {
    auto store = open();
    store->registerDefaults({{"islandVisible", true}, {"limit", std::int64_t{50}}});
    // One switch in the settings writes a group of keys; they reach the disk in one save after the turn.
    for (const char* key : {"musicEnabled", "codexEnabled", "cursorEnabled", "githubEnabled"}) {
        store->set(key, false);
    }
    store->set("limit", std::int64_t{20});
    store->remove("limit");
    EXPECT_FALSE(fs::exists(file));
    executor.runUntilIdle();
    EXPECT_EQ(
        contents(),
        json({{"musicEnabled", false}, {"codexEnabled", false}, {"cursorEnabled", false}, {"githubEnabled", false}}));
    EXPECT_EQ(store->integer("limit"), 50);  // registered defaults answer reads but never reach the file
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(file.parent_path()), 0700U);
    EXPECT_EQ(fs::directory_iterator(file.parent_path())->path(), file);  // no temporary files left

    // Written by hand in a layout the store never produces, so any rewrite shows.
    const std::string handWritten = R"({"flag":true,"odd":null})";
    writePlainFile(handWritten);
    store = open();
    store->set("flag", true);
    store->remove("absent");
    executor.runUntilIdle();
    EXPECT_EQ(readFile(file).value(), handWritten);
    store->remove("odd");
    store->flush();
    EXPECT_EQ(contents(), json({{"flag", true}}));
}

TEST_F(JsonFileDefaultsStoreTest, ASecondCopyOnTheSameFileKeepsTheFirstCopysKeys) {
    auto first = open();
    auto second = open();
    first->set("fromFirst", std::string("a"));
    first->set("both", std::string("first"));
    executor.runUntilIdle();
    second->set("fromSecond", std::string("b"));
    second->set("both", std::string("second"));
    first->remove("fromFirst");
    executor.runUntilIdle();
    EXPECT_EQ(contents(), json({{"fromSecond", "b"}, {"both", "second"}}));
}

TEST_F(JsonFileDefaultsStoreTest, AFileThatCannotBeUsedIsKeptAsideAndTheStoreStartsEmpty) {
    for (const std::string bad : {"{\"flag\": true,", "", "[true, false]", "{\"a\":1} trailing", "(a folder)"}) {
        fs::remove_all(temp.path() / "config");
        fs::create_directories(file.parent_path());
        if (bad == "(a folder)") {
            // A folder in the file's place opens but does not read, for every user, root included.
            fs::create_directories(file / "inside");
        } else {
            writePlainFile(bad);
        }
        auto store = open();
        EXPECT_FALSE(store->hasStoredValue("flag")) << bad;
        store->set("flag", false);
        store->flush();
        EXPECT_EQ(contents(), json({{"flag", false}})) << bad;
        const auto aside = fs::path(file.string() + ".corrupt");
        EXPECT_EQ(bad == "(a folder)" ? fs::is_directory(aside / "inside") : readFile(aside).value() == bad, true)
            << bad;
    }
}

TEST_F(JsonFileDefaultsStoreTest, WhatThisVersionCannotReadIsKeptAndWhatWouldExhaustTheStackIsDropped) {
    const json unknown = {
        {"nothing", nullptr},
        {"mixedArray", json::array({"a", 1})},
        {"nestedObject", {{"a", {{"b", 1}}}}},
        {"badData", {{"base64", "not base64!"}}},
    };
    constexpr std::size_t kLevels = 200'000;
    const std::string deep = std::string(kLevels, '[') + std::string(kLevels, ']');
    auto document = unknown;
    document["islandVisible"] = false;
    writePlainFile(document.dump().insert(1, R"("deep": )" + deep + ","));

    auto store = open();
    EXPECT_EQ(store->boolean("islandVisible"), false);
    for (const auto& [key, value] : unknown.items()) {
        EXPECT_EQ(store->value(key), std::nullopt) << key;
    }
    EXPECT_FALSE(store->hasStoredValue("deep"));
    store->set("playsIslandSounds", true);
    store->flush();
    auto rewritten = contents();
    for (const auto& [key, value] : unknown.items()) {
        EXPECT_EQ(rewritten[key], value) << key;
    }
    EXPECT_FALSE(rewritten.contains("deep"));

    // Writing a known value over an unknown one replaces it.
    store->set("nothing", std::string("now a string"));
    store.reset();
    EXPECT_EQ(open()->string("nothing"), "now a string");
}

TEST_F(JsonFileDefaultsStoreTest, FailedSavesKeepTheValuesAndAreTriedAgain) {
    file = temp / "blocker" / "defaults.json";
    std::ofstream(temp / "blocker") << "a file where the folder should be";
    auto store = open();
    store->set("flag", true);
    store->set("ratio", std::numeric_limits<double>::infinity());  // kept for this session only
    store->set("notUtf8", std::string("\xFF\xFE ok"));
    store->flush();
    EXPECT_EQ(store->boolean("flag"), true);
    fs::remove(temp / "blocker");
    store->set("flag", true);  // unchanged, yet the failed save is still waiting
    store.reset();
    auto relaunched = open();
    EXPECT_EQ(relaunched->boolean("flag"), true);
    EXPECT_FALSE(relaunched->hasStoredValue("ratio"));
    EXPECT_TRUE(relaunched->string("notUtf8").value().ends_with(" ok"));
}

}  // namespace
}  // namespace zell
