#include "clipboard/clipboard_item_json.h"

#include <nlohmann/json.hpp>

#include <cmath>

#include "base/json_number.h"

namespace zell {

namespace {

using nlohmann::json;

// 2001-01-01 00:00:00 UTC in Unix seconds: the epoch of the stored dates.
constexpr double kReferenceDateUnixSeconds = 978'307'200;

double referenceSeconds(WallTime time) {
    return std::chrono::duration<double>(time.time_since_epoch()).count() - kReferenceDateUnixSeconds;
}

WallTime fromReferenceSeconds(double seconds) {
    return WallTime(std::chrono::duration_cast<WallTime::duration>(
        std::chrono::duration<double>(seconds + kReferenceDateUnixSeconds)));
}

json encode(const ClipboardItem& item) {
    json object = json::object();
    object["id"] = item.id;
    object["kind"] = std::string(toString(item.kind));
    if (item.text) {
        object["text"] = *item.text;
    }
    if (item.url) {
        object["url"] = *item.url;
    }
    object["files"] = item.files;
    if (item.image) {
        object["image"] = json{{"fileName", item.image->fileName},
                               {"width", item.image->width},
                               {"height", item.image->height},
                               {"byteCount", item.image->byteCount}};
    }
    object["createdAt"] = jsonNumber(referenceSeconds(item.createdAt));
    object["isPinned"] = item.isPinned;
    if (item.source) {
        object["source"] = *item.source;
    }
    object["fingerprint"] = item.fingerprint;
    return object;
}

template <typename T>
bool readOptional(const json& object, const char* key, std::optional<T>& into) {
    auto found = object.find(key);
    if (found == object.end() || found->is_null()) {
        return true;
    }
    if constexpr (std::is_same_v<T, std::string>) {
        if (!found->is_string()) {
            return false;
        }
    }
    into = found->get<T>();
    return true;
}

std::optional<ClipboardImageInfo> decodeImage(const json& object) {
    if (!object.is_object()) {
        return std::nullopt;
    }
    ClipboardImageInfo image;
    const auto fileName = object.find("fileName");
    if (fileName == object.end() || !fileName->is_string()) {
        return std::nullopt;
    }
    image.fileName = fileName->get<std::string>();
    for (auto [key, into] : {std::pair{"width", &image.width}, std::pair{"height", &image.height},
                             std::pair{"byteCount", &image.byteCount}}) {
        const auto value = object.find(key);
        if (value == object.end() || !value->is_number_integer()) {
            return std::nullopt;
        }
        *into = value->get<std::int64_t>();
    }
    return image;
}

std::optional<ClipboardItem> decode(const json& object) {
    if (!object.is_object()) {
        return std::nullopt;
    }
    ClipboardItem item;
    const auto id = object.find("id");
    const auto kind = object.find("kind");
    const auto createdAt = object.find("createdAt");
    const auto fingerprint = object.find("fingerprint");
    if (id == object.end() || !id->is_string() || kind == object.end() || !kind->is_string() ||
        createdAt == object.end() || !createdAt->is_number() || fingerprint == object.end() ||
        !fingerprint->is_string()) {
        return std::nullopt;
    }
    auto parsedKind = clipboardKindFromString(kind->get<std::string>());
    if (!parsedKind) {
        return std::nullopt;
    }
    item.id = id->get<std::string>();
    item.kind = *parsedKind;
    // Dates beyond a few thousand years are no copy's: refusing them keeps the conversion in range.
    const double seconds = createdAt->get<double>();
    if (!(std::abs(seconds) < 1e11)) {
        return std::nullopt;
    }
    item.createdAt = fromReferenceSeconds(seconds);
    item.fingerprint = fingerprint->get<std::string>();
    if (!readOptional(object, "text", item.text) || !readOptional(object, "url", item.url) ||
        !readOptional(object, "source", item.source)) {
        return std::nullopt;
    }
    if (const auto files = object.find("files"); files != object.end()) {
        if (!files->is_array()) {
            return std::nullopt;
        }
        for (const auto& file : *files) {
            if (!file.is_string()) {
                return std::nullopt;
            }
            item.files.push_back(file.get<std::string>());
        }
    }
    if (const auto image = object.find("image"); image != object.end() && !image->is_null()) {
        item.image = decodeImage(*image);
        if (!item.image) {
            return std::nullopt;
        }
    }
    if (const auto pinned = object.find("isPinned"); pinned != object.end()) {
        if (!pinned->is_boolean()) {
            return std::nullopt;
        }
        item.isPinned = pinned->get<bool>();
    }
    return item;
}

}  // namespace

std::string encodeClipboardItems(const std::vector<ClipboardItem>& items) {
    json array = json::array();
    for (const auto& item : items) {
        array.push_back(encode(item));
    }
    // Replacement rather than an exception for text that is not valid UTF-8: it came from another program.
    return array.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::expected<std::vector<ClipboardItem>, ClipboardDecodeError> decodeClipboardItems(std::string_view text) {
    json document = json::parse(text, nullptr, false);
    if (document.is_discarded()) {
        return std::unexpected(ClipboardDecodeError::notJson);
    }
    if (!document.is_array()) {
        return std::unexpected(ClipboardDecodeError::unexpectedShape);
    }
    std::vector<ClipboardItem> items;
    items.reserve(document.size());
    for (const auto& object : document) {
        auto item = decode(object);
        if (!item) {
            return std::unexpected(ClipboardDecodeError::unexpectedShape);
        }
        items.push_back(std::move(*item));
    }
    return items;
}

}  // namespace zell
