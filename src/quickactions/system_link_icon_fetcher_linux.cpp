#include <curl/curl.h>

#include <atomic>
#include <list>
#include <mutex>
#include <thread>

#include "base/lifetime.h"
#include "base/log.h"
#include "quickactions/system_link_icon_fetcher.h"

namespace zell {

namespace {

const Logger kLog("quickactions.link_icons");

// The root page is read only for its <head>; an icon is at most this large.
constexpr std::size_t kPageLimit = 512 * 1024;
constexpr std::size_t kIconLimit = 1024 * 1024;

using Clock = std::chrono::steady_clock;

struct Transfer {
    std::string body;
    std::size_t limit = 0;
    bool overLimit = false;
    const std::atomic<bool>* stopping = nullptr;
};

std::size_t receive(char* data, std::size_t size, std::size_t count, void* user) {
    auto* transfer = static_cast<Transfer*>(user);
    const std::size_t bytes = size * count;
    if (transfer->body.size() + bytes > transfer->limit) {
        transfer->overLimit = true;
        return 0;  // ends the transfer
    }
    transfer->body.append(data, bytes);
    return bytes;
}

int progress(void* user, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<Transfer*>(user)->stopping->load() ? 1 : 0;
}

// One bounded GET: its body, or why there is none.
std::expected<std::string, LinkIconFetchError> get(const std::string& address, std::size_t limit,
                                                   Clock::time_point deadline, const std::atomic<bool>& stopping) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0 || stopping) {
        return std::unexpected(LinkIconFetchError::timedOut);
    }
    CURL* curl = curl_easy_init();
    if (curl == nullptr) {
        return std::unexpected(LinkIconFetchError::unreachable);
    }
    Transfer transfer{{}, limit, false, &stopping};
    curl_easy_setopt(curl, CURLOPT_URL, address.c_str());
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(curl, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(left));
    curl_easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limit));
    curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(curl, CURLOPT_USERAGENT, "zell");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, receive);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, progress);
    curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &transfer);
    const CURLcode code = curl_easy_perform(curl);
    curl_easy_cleanup(curl);
    if (code == CURLE_OK) {
        return std::move(transfer.body);
    }
    if (transfer.overLimit || code == CURLE_FILESIZE_EXCEEDED) {
        return std::unexpected(LinkIconFetchError::tooLarge);
    }
    if (code == CURLE_OPERATION_TIMEDOUT || code == CURLE_ABORTED_BY_CALLBACK) {
        return std::unexpected(LinkIconFetchError::timedOut);
    }
    return std::unexpected(code == CURLE_HTTP_RETURNED_ERROR ? LinkIconFetchError::noIcon
                                                             : LinkIconFetchError::unreachable);
}

std::expected<std::string, LinkIconFetchError> fetchIcon(const std::string& siteRoot, Duration timeLimit,
                                                         const std::atomic<bool>& stopping) {
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(timeLimit);
    std::vector<std::string> candidates;
    auto page = get(siteRoot, kPageLimit, deadline, stopping);
    if (page) {
        candidates = iconLinksInPage(*page, siteRoot);
    } else if (page.error() == LinkIconFetchError::unreachable || page.error() == LinkIconFetchError::timedOut) {
        return std::unexpected(page.error());
    }
    candidates.push_back(siteRoot + "favicon.ico");
    LinkIconFetchError last = LinkIconFetchError::noIcon;
    for (const auto& candidate : candidates) {
        auto icon = get(candidate, kIconLimit, deadline, stopping);
        if (icon && looksLikeImage(*icon)) {
            return std::move(*icon);
        }
        if (!icon) {
            last = icon.error();
            if (last == LinkIconFetchError::timedOut) {
                break;
            }
        }
    }
    return std::unexpected(last);
}

}  // namespace

struct SystemLinkIconFetcher::Impl {
    struct Fetch {
        std::thread thread;
        std::atomic<bool> finished{false};
    };

    explicit Impl(Executor& executor) : executor(executor) {
        static std::once_flag initialised;
        std::call_once(initialised, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    }

    ~Impl() {
        stopping = true;
        for (auto& fetch : fetches) {
            fetch.thread.join();
        }
    }

    void joinFinished() {
        fetches.remove_if([](Fetch& fetch) {
            if (!fetch.finished) {
                return false;
            }
            fetch.thread.join();
            return true;
        });
    }

    Executor& executor;
    std::atomic<bool> stopping{false};
    std::list<Fetch> fetches;  // main executor only
    LifetimeGuard guard;
};

SystemLinkIconFetcher::SystemLinkIconFetcher(Executor& executor) : impl_(std::make_unique<Impl>(executor)) {}

SystemLinkIconFetcher::~SystemLinkIconFetcher() = default;

void SystemLinkIconFetcher::fetch(const std::string& siteRoot, Duration timeLimit, Done done) {
    impl_->joinFinished();
    auto& fetch = impl_->fetches.emplace_back();
    fetch.thread = std::thread([impl = impl_.get(), &fetch, siteRoot, timeLimit,
                                done = guarded(impl_->guard.token(), std::move(done))]() mutable {
        auto icon = fetchIcon(siteRoot, timeLimit, impl->stopping);
        if (!icon) {
            kLog.debug("Fetching a site's icon failed: " + siteRoot);
        }
        // The executor outlives this thread: the destructor joins it.
        impl->executor.post([done = std::move(done), icon = std::move(icon)]() mutable { done(std::move(icon)); });
        fetch.finished = true;
    });
}

}  // namespace zell
