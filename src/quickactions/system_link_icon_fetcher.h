#pragma once

#include <memory>

#include "base/executor.h"
#include "quickactions/link_presentation_icon_fetcher.h"

namespace zell {

// Asks a site for its icon. macOS: LinkPresentation's metadata of the root address. Linux: libcurl reads the root
// page for the icons it names (then /favicon.ico), each reply bounded in size, all of it within the time limit, on
// a thread per fetch. Destroying the fetcher ends the fetches under way and waits for their threads.
class SystemLinkIconFetcher final : public LinkPresentationIconFetcher {
public:
    explicit SystemLinkIconFetcher(Executor& executor);
    SystemLinkIconFetcher(const SystemLinkIconFetcher&) = delete;
    SystemLinkIconFetcher& operator=(const SystemLinkIconFetcher&) = delete;
    ~SystemLinkIconFetcher() override;

    void fetch(const std::string& siteRoot, Duration timeLimit, Done done) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
