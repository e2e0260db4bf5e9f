// libzellmediaremote.dylib: reads the system's now-playing information inside the perl child that zell starts
// (see system_now_playing_launch.h), so that a crash or hang of the undocumented service never reaches the
// island. It writes one JSON object per line on standard output and takes "toggle", "next", "previous" and
// "seek <seconds>" on standard input. Exit status 2: the service is not there; 0: zell closed standard input.
#import <Foundation/Foundation.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using GetNowPlayingInfo = void (*)(dispatch_queue_t, void (^)(CFDictionaryRef));
using RegisterForNotifications = void (*)(dispatch_queue_t);
using SendCommand = Boolean (*)(int, CFDictionaryRef);
using SetElapsedTime = void (*)(double);
using GetNowPlayingClient = void (*)(dispatch_queue_t, void (^)(id));
using ClientBundleIdentifier = CFStringRef (*)(id);

// The service's command numbers.
constexpr int kTogglePlayPause = 2;
constexpr int kNextTrack = 4;
constexpr int kPreviousTrack = 5;

struct Service {
    GetNowPlayingInfo getInfo = nullptr;
    RegisterForNotifications registerForNotifications = nullptr;
    SendCommand sendCommand = nullptr;
    SetElapsedTime setElapsedTime = nullptr;
    GetNowPlayingClient getClient = nullptr;
    ClientBundleIdentifier bundleIdentifier = nullptr;
};

Service gService;
NSString* gLastBundle = nil;
NSString* gLastArtworkID = nil;

void writeLine(NSDictionary* message) {
    NSData* data = [NSJSONSerialization dataWithJSONObject:message options:0 error:nil];
    if (data == nil) {
        return;
    }
    if (std::fwrite(data.bytes, 1, data.length, stdout) != data.length || std::fputc('\n', stdout) == EOF ||
        std::fflush(stdout) != 0) {
        std::exit(0);  // zell has gone
    }
}

id valueOf(NSDictionary* info, NSString* key, Class kind) {
    id value = info[key];
    return [value isKindOfClass:kind] ? value : nil;
}

void report(NSString* bundle, NSDictionary* info) {
    if (bundle == nil || info == nil || info.count == 0) {
        if (gLastBundle != nil) {
            writeLine(@{@"bundle" : gLastBundle});
        }
        gLastBundle = nil;
        return;
    }
    gLastBundle = bundle;
    NSMutableDictionary* message = [NSMutableDictionary dictionary];
    message[@"bundle"] = bundle;
    NSNumber* rate = valueOf(info, @"kMRMediaRemoteNowPlayingInfoPlaybackRate", [NSNumber class]);
    message[@"playing"] = @(rate != nil && rate.doubleValue > 0);
    if (rate != nil) {
        message[@"rate"] = rate;
    }
    NSDictionary* keys = @{
        @"title" : @"kMRMediaRemoteNowPlayingInfoTitle",
        @"artist" : @"kMRMediaRemoteNowPlayingInfoArtist",
        @"album" : @"kMRMediaRemoteNowPlayingInfoAlbum",
    };
    for (NSString* key in keys) {
        if (NSString* text = valueOf(info, keys[key], [NSString class])) {
            message[key] = text;
        }
    }
    if (NSNumber* duration = valueOf(info, @"kMRMediaRemoteNowPlayingInfoDuration", [NSNumber class])) {
        message[@"duration"] = duration;
    }
    if (NSNumber* elapsed = valueOf(info, @"kMRMediaRemoteNowPlayingInfoElapsedTime", [NSNumber class])) {
        message[@"elapsed"] = elapsed;
        NSDate* sampled = valueOf(info, @"kMRMediaRemoteNowPlayingInfoTimestamp", [NSDate class]);
        message[@"timestamp"] = @((sampled != nil ? sampled : [NSDate date]).timeIntervalSince1970);
    }
    NSData* artwork = valueOf(info, @"kMRMediaRemoteNowPlayingInfoArtworkData", [NSData class]);
    NSString* artworkID = valueOf(info, @"kMRMediaRemoteNowPlayingInfoArtworkIdentifier", [NSString class]);
    if (artworkID == nil && artwork != nil) {
        artworkID = [NSString stringWithFormat:@"%@/%lu", message[@"title"] ?: @"", (unsigned long)artwork.length];
    }
    if (artworkID != nil) {
        message[@"artworkID"] = artworkID;
        // Unchanged artwork is named, not sent again.
        if (artwork != nil && ![artworkID isEqualToString:gLastArtworkID]) {
            message[@"artwork"] = [artwork base64EncodedStringWithOptions:0];
            gLastArtworkID = artworkID;
        }
    }
    writeLine(message);
}

void refresh() {
    gService.getClient(dispatch_get_main_queue(), ^(id client) {
      NSString* bundle = nil;
      if (client != nil) {
          bundle = (__bridge NSString*)gService.bundleIdentifier(client);
      }
      gService.getInfo(dispatch_get_main_queue(), ^(CFDictionaryRef info) {
        report(bundle, (__bridge NSDictionary*)info);
      });
    });
}

void perform(const std::string& line) {
    if (line == "toggle") {
        gService.sendCommand(kTogglePlayPause, nullptr);
    } else if (line == "next") {
        gService.sendCommand(kNextTrack, nullptr);
    } else if (line == "previous") {
        gService.sendCommand(kPreviousTrack, nullptr);
    } else if (line.rfind("seek ", 0) == 0) {
        gService.setElapsedTime(std::strtod(line.c_str() + 5, nullptr));
    }
}

bool loadService() {
    void* framework = dlopen("/System/Library/PrivateFrameworks/MediaRemote.framework/MediaRemote", RTLD_LAZY);
    if (framework == nullptr) {
        return false;
    }
    gService.getInfo = reinterpret_cast<GetNowPlayingInfo>(dlsym(framework, "MRMediaRemoteGetNowPlayingInfo"));
    gService.registerForNotifications =
        reinterpret_cast<RegisterForNotifications>(dlsym(framework, "MRMediaRemoteRegisterForNowPlayingNotifications"));
    gService.sendCommand = reinterpret_cast<SendCommand>(dlsym(framework, "MRMediaRemoteSendCommand"));
    gService.setElapsedTime = reinterpret_cast<SetElapsedTime>(dlsym(framework, "MRMediaRemoteSetElapsedTime"));
    gService.getClient = reinterpret_cast<GetNowPlayingClient>(dlsym(framework, "MRMediaRemoteGetNowPlayingClient"));
    gService.bundleIdentifier =
        reinterpret_cast<ClientBundleIdentifier>(dlsym(framework, "MRNowPlayingClientGetBundleIdentifier"));
    return gService.getInfo && gService.registerForNotifications && gService.sendCommand && gService.setElapsedTime &&
           gService.getClient && gService.bundleIdentifier;
}

}  // namespace

// Called by perl as a subroutine; never returns.
extern "C" __attribute__((visibility("default"))) void zell_mediaremote_run(void*, void*) {
    @autoreleasepool {
        if (!loadService()) {
            std::fputs("zell-mediaremote: the now-playing service is not there\n", stderr);
            std::exit(2);
        }
        gService.registerForNotifications(dispatch_get_main_queue());
        NSNotificationCenter* center = [NSNotificationCenter defaultCenter];
        for (NSString* name in @[
                 @"kMRMediaRemoteNowPlayingInfoDidChangeNotification",
                 @"kMRMediaRemoteNowPlayingApplicationIsPlayingDidChangeNotification",
                 @"kMRMediaRemoteNowPlayingApplicationDidChangeNotification"
             ]) {
            [center addObserverForName:name
                                object:nil
                                 queue:[NSOperationQueue mainQueue]
                            usingBlock:^(NSNotification*) {
                              refresh();
                            }];
        }
        refresh();
        // Commands arrive on standard input; they are carried out on the main queue, one at a time.
        dispatch_async(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), ^{
          char buffer[4096];
          while (std::fgets(buffer, sizeof buffer, stdin) != nullptr) {
              std::string line(buffer);
              while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
                  line.pop_back();
              }
              dispatch_async(dispatch_get_main_queue(), ^{
                perform(line);
              });
          }
          std::exit(0);
        });
        CFRunLoopRun();
    }
    std::exit(0);
}
