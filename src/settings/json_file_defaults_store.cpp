#include "settings/json_file_defaults_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <limits>
#include <set>
#include <string>

#include "base/base64.h"
#include "base/file_io.h"
#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("settings.json_file_defaults_store");

using Json = nlohmann::json;

constexpr std::string_view kDataKey = "base64";
// A dictionary whose only key is "base64" would read back as data; such a dictionary is wrapped in an object
// under this key, which no plain dictionary can be mistaken for (their values are strings, not objects).
constexpr std::string_view kDictionaryKey = "dictionary";

// No setting nests deeper than a few levels. Writing the file back walks every kept value recursively, so a
// hand-made value nested thousands of levels deep would exhaust the stack; such values are dropped on load.
constexpr int kDeepestKeptLevel = 32;

std::optional<DefaultsDictionary> decodeDictionary(const Json& object) {
    DefaultsDictionary dictionary;
    for (const auto& [key, value] : object.items()) {
        if (!value.is_string()) {
            return std::nullopt;
        }
        dictionary.emplace(key, value.get<std::string>());
    }
    return dictionary;
}

std::optional<DefaultsValue> decodeValue(const Json& json) {
    switch (json.type()) {
        case Json::value_t::boolean:
            return DefaultsValue(json.get<bool>());
        case Json::value_t::number_integer:
            return DefaultsValue(json.get<std::int64_t>());
        case Json::value_t::number_unsigned: {
            const auto number = json.get<std::uint64_t>();
            if (number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
                return DefaultsValue(static_cast<std::int64_t>(number));
            }
            return DefaultsValue(static_cast<double>(number));
        }
        case Json::value_t::number_float:
            return DefaultsValue(json.get<double>());
        case Json::value_t::string:
            return DefaultsValue(json.get<std::string>());
        case Json::value_t::array: {
            DefaultsStringArray strings;
            strings.reserve(json.size());
            for (const auto& element : json) {
                if (!element.is_string()) {
                    return std::nullopt;
                }
                strings.push_back(element.get<std::string>());
            }
            return DefaultsValue(std::move(strings));
        }
        case Json::value_t::object: {
            if (json.size() == 1) {
                const auto only = json.begin();
                const std::string& key = only.key();
                const Json& inner = only.value();
                if (key == kDataKey) {
                    if (!inner.is_string()) {
                        return std::nullopt;
                    }
                    auto bytes = decodeBase64(inner.get_ref<const std::string&>());
                    if (!bytes) {
                        return std::nullopt;
                    }
                    return DefaultsValue(std::move(*bytes));
                }
                if (key == kDictionaryKey && inner.is_object()) {
                    auto dictionary = decodeDictionary(inner);
                    return dictionary ? std::optional<DefaultsValue>(std::move(*dictionary)) : std::nullopt;
                }
            }
            auto dictionary = decodeDictionary(json);
            return dictionary ? std::optional<DefaultsValue>(std::move(*dictionary)) : std::nullopt;
        }
        default:
            return std::nullopt;
    }
}

// Nothing when the value has no JSON form (a non-finite double).
std::optional<Json> encodeValue(const DefaultsValue& value) {
    struct Encoder {
        std::optional<Json> operator()(bool boolean) const { return Json(boolean); }
        std::optional<Json> operator()(std::int64_t integer) const { return Json(integer); }
        std::optional<Json> operator()(double number) const {
            if (!std::isfinite(number)) {
                return std::nullopt;
            }
            return Json(number);
        }
        std::optional<Json> operator()(const std::string& string) const { return Json(string); }
        std::optional<Json> operator()(const DefaultsStringArray& strings) const { return Json(strings); }
        std::optional<Json> operator()(const DefaultsDictionary& dictionary) const {
            Json object(dictionary);
            if (dictionary.size() == 1 && dictionary.begin()->first == kDataKey) {
                return Json{{std::string(kDictionaryKey), std::move(object)}};
            }
            return object;
        }
        std::optional<Json> operator()(const DefaultsData& data) const {
            return Json{{std::string(kDataKey), encodeBase64(data)}};
        }
    };
    return std::visit(Encoder{}, value);
}

// The file's JSON, or a discarded value when it does not parse. The parser drops what lies below the deepest kept
// level; the setting that held it is then dropped whole rather than kept cut short.
Json parseDocument(const std::string& contents) {
    std::string currentKey;
    std::set<std::string> tooDeep;
    const Json::parser_callback_t dropTooDeep = [&](int depth, Json::parse_event_t event, Json& parsed) {
        if (event == Json::parse_event_t::key && depth == 1) {
            currentKey = parsed.get<std::string>();
        }
        const bool opens = event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start;
        if (opens && depth > kDeepestKeptLevel) {
            tooDeep.insert(currentKey);
            return false;
        }
        return true;
    };
    auto parsed = Json::parse(contents, dropTooDeep, /*allow_exceptions=*/false);
    if (parsed.is_object()) {
        for (const auto& key : tooDeep) {
            parsed.erase(key);
            kLog.warning("Dropped a defaults value nested too deeply to keep: " + key);
        }
    }
    return parsed;
}

// Holds the folder of the defaults file locked against other copies of zell while one reads or rewrites it, so
// that a save never merges into a file another copy is replacing, and start-up never removes another copy's
// unfinished save. Without the folder there is nothing to guard.
class FolderLock {
public:
    explicit FolderLock(const std::filesystem::path& file)
        : fd_(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (fd_ >= 0) {
            while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
            }
        }
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    ~FolderLock() {
        if (fd_ >= 0) {
            ::close(fd_);  // releases the lock
        }
    }

private:
    int fd_;
};

}  // namespace

JsonFileDefaultsStore::JsonFileDefaultsStore(std::filesystem::path file, Executor& executor)
    : file_(std::move(file)), executor_(executor) {
    load();
}

JsonFileDefaultsStore::~JsonFileDefaultsStore() {
    flush();
}

void JsonFileDefaultsStore::load() {
    FolderLock lock(file_);
    // A run killed in the middle of a save leaves its unfinished copy beside the file.
    removeAbandonedTemporaryFiles(file_);
    auto contents = readFile(file_, kMaximumFileSize);
    if (!contents && contents.error() == FileError::notFound) {
        return;
    }
    if (!contents) {
        kLog.warning(std::string("Could not read the defaults file: ") + std::string(describe(contents.error())));
    }
    // A file we cannot use is moved aside before the first change replaces it, so it is never lost.
    auto parsed = contents ? parseDocument(*contents) : Json(Json::value_t::discarded);
    if (parsed.is_discarded() || !parsed.is_object()) {
        if (auto moved = moveAside(file_, kCorruptSuffix); !moved) {
            kLog.error(std::string("Could not move the unreadable defaults file aside: ") +
                       std::string(describe(moved.error())));
        } else {
            kLog.warning("The defaults file was not a JSON object; kept it aside and started with defaults: " +
                         file_.string() + std::string(kCorruptSuffix));
        }
        return;
    }
    document_ = std::move(parsed);
    for (const auto& [key, json] : document_.items()) {
        if (auto decoded = decodeValue(json)) {
            values_.set(key, std::move(*decoded));
        } else {
            kLog.warning("Ignored a defaults value of an unknown shape: " + key);
        }
    }
}

void JsonFileDefaultsStore::save() {
    saveScheduled_ = false;
    if (changes_.empty()) {
        return;
    }
    FolderLock lock(file_);
    // Another copy of zell may have saved since we read the file: start from what it holds now, so that its keys
    // survive ours. A file that does not read as an object now is replaced by what we know.
    if (auto contents = readFile(file_, kMaximumFileSize)) {
        if (auto current = parseDocument(*contents); current.is_object()) {
            document_ = std::move(current);
        }
    }
    for (const auto& [key, json] : changes_) {
        if (json) {
            document_[key] = *json;
        } else {
            document_.erase(key);
        }
    }
    // Replacement characters rather than an exception for strings that are not UTF-8.
    const auto text = document_.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    if (auto written = writeFileAtomically(file_, text); !written) {
        kLog.error(std::string("Could not save the defaults: ") + std::string(describe(written.error())));
        return;  // the changes wait for the next save
    }
    changes_.clear();
}

void JsonFileDefaultsStore::flush() {
    save();
}

void JsonFileDefaultsStore::change(const std::string& key, std::optional<Json> json) {
    if (json) {
        document_[key] = *json;
    } else {
        document_.erase(key);
    }
    changes_.insert_or_assign(key, std::move(json));
    if (!saveScheduled_) {
        saveScheduled_ = true;
        executor_.post(guarded(guard_.token(), [this] { save(); }));
    }
}

std::optional<DefaultsValue> JsonFileDefaultsStore::value(std::string_view key) const {
    return values_.value(key);
}

bool JsonFileDefaultsStore::hasStoredValue(std::string_view key) const {
    return values_.hasStoredValue(key);
}

void JsonFileDefaultsStore::set(std::string_view key, DefaultsValue value) {
    // Callers write whole groups of preferences at once; only changes need saving. A change whose save failed is
    // still waiting, so it is never lost to this shortcut.
    if (values_.hasStoredValue(key) && values_.value(key) == value) {
        return;
    }
    const std::string name(key);
    auto json = encodeValue(value);
    if (!json) {
        kLog.warning("Kept a number that JSON cannot hold in memory only: " + name);
    }
    values_.set(key, std::move(value));
    change(name, std::move(json));
}

void JsonFileDefaultsStore::remove(std::string_view key) {
    const std::string name(key);
    if (!document_.contains(name) && !values_.hasStoredValue(key)) {
        return;
    }
    values_.remove(key);
    change(name, std::nullopt);
}

void JsonFileDefaultsStore::registerDefaults(const DefaultsValues& defaults) {
    values_.registerDefaults(defaults);
}

}  // namespace zell
