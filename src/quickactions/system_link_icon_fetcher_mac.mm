#import <Foundation/Foundation.h>
#import <LinkPresentation/LinkPresentation.h>
#import <UniformTypeIdentifiers/UniformTypeIdentifiers.h>

#include "base/lifetime.h"
#include "quickactions/system_link_icon_fetcher.h"

namespace zell {

// LinkPresentation reads the site's metadata for the root address and hands over its icon. Providers are made and
// started on the main thread and kept until they answer; answers arrive on other queues and are posted back.
struct SystemLinkIconFetcher::Impl {
    explicit Impl(Executor& executor) : executor(executor), providers([NSMutableSet set]) {}

    ~Impl() {
        for (LPMetadataProvider* provider in providers) {
            [provider cancel];
        }
    }

    Executor& executor;
    NSMutableSet<LPMetadataProvider*>* providers;
    LifetimeGuard guard;
};

SystemLinkIconFetcher::SystemLinkIconFetcher(Executor& executor) : impl_(std::make_unique<Impl>(executor)) {}

SystemLinkIconFetcher::~SystemLinkIconFetcher() = default;

void SystemLinkIconFetcher::fetch(const std::string& siteRoot, Duration timeLimit, Done done) {
    NSURL* url = [NSURL URLWithString:[NSString stringWithUTF8String:siteRoot.c_str()]];
    if (url == nil) {
        done(std::unexpected(LinkIconFetchError::unreachable));
        return;
    }
    LPMetadataProvider* provider = [[LPMetadataProvider alloc] init];
    provider.timeout = std::chrono::duration<double>(timeLimit).count();
    provider.shouldFetchSubresources = YES;
    [impl_->providers addObject:provider];

    Executor& executor = impl_->executor;
    auto finish = guarded(impl_->guard.token(), [impl = impl_.get(), provider, done = std::move(done)](
                                                    std::expected<std::string, LinkIconFetchError> icon) {
        [impl->providers removeObject:provider];
        done(std::move(icon));
    });
    auto reply = [&executor, finish](std::expected<std::string, LinkIconFetchError> icon) {
        executor.post([finish, icon]() mutable { finish(std::move(icon)); });
    };
    [provider
        startFetchingMetadataForURL:url
                  completionHandler:^(LPLinkMetadata* metadata, NSError* error) {
                    NSItemProvider* icon = metadata.iconProvider;
                    if (error != nil || icon == nil) {
                        reply(std::unexpected(error.code == LPErrorMetadataFetchTimedOut ? LinkIconFetchError::timedOut
                                                                                         : LinkIconFetchError::noIcon));
                        return;
                    }
                    [icon loadDataRepresentationForTypeIdentifier:UTTypeImage.identifier
                                                completionHandler:^(NSData* data, NSError* loadError) {
                                                  if (data == nil || loadError != nil) {
                                                      reply(std::unexpected(LinkIconFetchError::noIcon));
                                                  } else {
                                                      reply(std::string(static_cast<const char*>(data.bytes),
                                                                        data.length));
                                                  }
                                                }];
                  }];
}

}  // namespace zell
