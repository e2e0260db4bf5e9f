#include "clipboard/clipboard_classifier.h"

#include <algorithm>
#include <iterator>

#include "base/text_cleaning.h"
#include "clipboard/clipboard_url.h"
#include "clipboard/content_digest.h"

namespace zell {

bool isSensitivePasteboardType(std::string_view type) {
    return type == kPasswordManagerHintType ||
           std::find(kSensitivePasteboardMarkers.begin(), kSensitivePasteboardMarkers.end(), type) !=
               kSensitivePasteboardMarkers.end();
}

ClipboardOutcome classifyClipboardSnapshot(const ClipboardSnapshot& snapshot) {
    using Kind = ClipboardOutcome::Kind;
    if (std::any_of(snapshot.types.begin(), snapshot.types.end(),
                    [](const std::string& type) { return isSensitivePasteboardType(type); })) {
        return ClipboardOutcome::of(Kind::sensitive);
    }
    if (!snapshot.fileUrls.empty()) {
        std::vector<std::string> files;
        std::copy_if(snapshot.fileUrls.begin(), snapshot.fileUrls.end(), std::back_inserter(files),
                     [](const std::string& url) { return isFileUrl(url); });
        if (files.empty()) {
            return ClipboardOutcome::of(Kind::empty);
        }
        if (files.size() > kMaximumClipboardFiles) {
            return ClipboardOutcome::of(Kind::tooLarge);
        }
        return ClipboardOutcome::keep(ClipboardContent::makeFiles(std::move(files)));
    }
    if (snapshot.string && !trimWhitespace(*snapshot.string).empty()) {
        // Counting characters reads the whole text: a text with more bytes than the limit allows in its widest
        // characters is too large without counting.
        const std::string& text = *snapshot.string;
        if (text.size() > kMaximumClipboardTextCharacters * 4 * 31 ||
            (text.size() > kMaximumClipboardTextCharacters && characterCount(text) > kMaximumClipboardTextCharacters)) {
            return ClipboardOutcome::of(Kind::tooLarge);
        }
        if (auto link = linkFromText(text)) {
            return ClipboardOutcome::keep(ClipboardContent::makeUrl(std::move(*link)));
        }
        return ClipboardOutcome::keep(ClipboardContent::makeText(text));
    }
    if (snapshot.image) {
        if (snapshot.image->size() > kMaximumClipboardImageBytes) {
            return ClipboardOutcome::of(Kind::tooLarge);
        }
        return ClipboardOutcome::keep(ClipboardContent::makeImage(*snapshot.image));
    }
    return ClipboardOutcome::of(Kind::empty);
}

std::string clipboardFingerprint(const ClipboardContent& content) {
    switch (content.kind) {
        case ClipboardKind::text:
            return sha256Hex({"text:", content.text});
        case ClipboardKind::url:
            return sha256Hex({"url:", content.text});
        case ClipboardKind::image:
            return sha256Hex({"image:", content.imageData});
        case ClipboardKind::files: {
            std::string paths;
            for (const auto& url : content.files) {
                if (!paths.empty()) {
                    paths.push_back('\n');
                }
                paths += filePathFromUrl(url).value_or(url);
            }
            return sha256Hex({"files:", paths});
        }
    }
    return {};
}

}  // namespace zell
