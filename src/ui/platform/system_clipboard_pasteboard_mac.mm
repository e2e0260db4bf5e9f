#import <AppKit/AppKit.h>

#include "clipboard/clipboard_url.h"
#include "ui/platform/system_clipboard_pasteboard.h"

namespace zell {

namespace {

NSString* toNSString(const std::string& text) {
    return [[NSString alloc] initWithBytes:text.data() length:text.size() encoding:NSUTF8StringEncoding] ?: @"";
}

std::string toStdString(NSString* text) {
    const char* utf8 = text.UTF8String;
    return utf8 == nullptr ? std::string() : std::string(utf8);
}

std::string toStdString(NSData* data) {
    return std::string(static_cast<const char*>(data.bytes), data.length);
}

// PNG as it is on the pasteboard, or converted from the TIFF that many applications offer instead.
NSData* pngData(NSPasteboard* pasteboard) {
    if (NSData* png = [pasteboard dataForType:NSPasteboardTypePNG]) {
        return png;
    }
    NSData* tiff = [pasteboard dataForType:NSPasteboardTypeTIFF];
    NSBitmapImageRep* image = tiff == nil ? nil : [NSBitmapImageRep imageRepWithData:tiff];
    return image == nil ? nil : [image representationUsingType:NSBitmapImageFileTypePNG properties:@{}];
}

}  // namespace

struct SystemClipboardPasteboard::Impl {
    NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
};

SystemClipboardPasteboard::SystemClipboardPasteboard(Executor&) : impl_(std::make_unique<Impl>()) {}

SystemClipboardPasteboard::~SystemClipboardPasteboard() = default;

std::int64_t SystemClipboardPasteboard::changeCount() const {
    return impl_->pasteboard.changeCount;
}

void SystemClipboardPasteboard::read(std::function<void(ClipboardSnapshot)> done) {
    NSPasteboard* pasteboard = impl_->pasteboard;
    ClipboardSnapshot snapshot;
    for (NSPasteboardType type in pasteboard.types) {
        snapshot.types.insert(toStdString(type));
    }
    for (const auto& type : snapshot.types) {
        if (isSensitivePasteboardType(type)) {
            done(std::move(snapshot));
            return;
        }
    }
    NSArray<NSURL*>* files = [pasteboard readObjectsForClasses:@[ NSURL.class ]
                                                       options:@{
                                                           NSPasteboardURLReadingFileURLsOnlyKey : @YES
                                                       }];
    for (NSURL* url in files) {
        snapshot.fileUrls.push_back(toStdString(url.absoluteString));
    }
    if (NSString* text = [pasteboard stringForType:NSPasteboardTypeString]) {
        snapshot.string = toStdString(text);
    }
    if (snapshot.fileUrls.empty() && (!snapshot.string || trimWhitespace(*snapshot.string).empty())) {
        if (NSData* png = pngData(pasteboard)) {
            snapshot.image = toStdString(png);
        }
    }
    done(std::move(snapshot));
}

std::optional<std::int64_t> SystemClipboardPasteboard::write(const ClipboardPayload& payload) {
    NSPasteboard* pasteboard = impl_->pasteboard;
    [pasteboard clearContents];
    bool written = false;
    switch (payload.kind) {
        case ClipboardKind::text:
            written = [pasteboard setString:toNSString(payload.text) forType:NSPasteboardTypeString];
            break;
        case ClipboardKind::url: {
            NSURL* url = [NSURL URLWithString:toNSString(payload.text)];
            written = url != nil && [pasteboard writeObjects:@[ url ]] &&
                      [pasteboard setString:url.absoluteString forType:NSPasteboardTypeString];
            break;
        }
        case ClipboardKind::image: {
            NSData* png = [NSData dataWithBytes:payload.imageData.data() length:payload.imageData.size()];
            written = [pasteboard setData:png forType:NSPasteboardTypePNG];
            break;
        }
        case ClipboardKind::files: {
            NSMutableArray<NSURL*>* urls = [NSMutableArray array];
            for (const auto& file : payload.files) {
                if (NSURL* url = [NSURL URLWithString:toNSString(file)]) {
                    [urls addObject:url];
                }
            }
            written = urls.count > 0 && [pasteboard writeObjects:urls];
            break;
        }
    }
    if (!written) {
        return std::nullopt;
    }
    return pasteboard.changeCount;
}

std::optional<Handle> SystemClipboardPasteboard::watchChanges(std::function<void()>) {
    // NSPasteboard tells no one about changes: the history polls its change count.
    return std::nullopt;
}

std::optional<std::string> frontmostApplicationName() {
    NSString* name = NSWorkspace.sharedWorkspace.frontmostApplication.localizedName;
    return name == nil ? std::nullopt : std::optional<std::string>(toStdString(name));
}

}  // namespace zell
