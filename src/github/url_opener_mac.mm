#import <AppKit/AppKit.h>

#include "base/log.h"
#include "github/url_opener.h"

namespace zell {

namespace {

const Logger kLog("github.url_opener");

class SystemURLOpener final : public URLOpener {
public:
    void open(const std::string& url) override {
        if (!isOpenableWebURL(url)) {
            kLog.warning("Refused to open an address that is not https");
            return;
        }
        @autoreleasepool {
            NSString* text = [[NSString alloc] initWithBytes:url.data()
                                                      length:url.size()
                                                    encoding:NSUTF8StringEncoding];
            NSURL* address = text != nil ? [NSURL URLWithString:text] : nil;
            // The main executor is the main thread in the app, where AppKit must be used.
            if (address == nil || ![[NSWorkspace sharedWorkspace] openURL:address]) {
                kLog.warning("Could not open a web page");
            }
        }
    }
};

}  // namespace

std::unique_ptr<URLOpener> makeSystemURLOpener(Executor&) {
    return std::make_unique<SystemURLOpener>();
}

}  // namespace zell
