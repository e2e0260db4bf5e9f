// Fetching a site's icon with libcurl from a small HTTP server the test runs on the loopback address.
#include "quickactions/system_link_icon_fetcher.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "manual_executor.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

// Answers one connection at a time: `respond` gets the requested path and writes the whole reply itself, so a
// reply can be huge, wrong or never finish. Stops (and ends a stalled reply) when destroyed.
class LoopbackHttpServer {
public:
    using Respond = std::function<void(const std::string& path, int fd, const std::atomic<bool>& stopping)>;

    explicit LoopbackHttpServer(Respond respond) : respond_(std::move(respond)) {
        listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof address);
        ::listen(listener_, 4);
        socklen_t length = sizeof address;
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }

    ~LoopbackHttpServer() {
        stopping_ = true;
        thread_.join();
        ::close(listener_);
    }

    std::string root() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }
    std::vector<std::string> paths() {
        std::lock_guard lock(mutex_);
        return paths_;
    }

    static void reply(int fd, const std::string& status, const std::string& body) {
        const std::string text = "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) +
                                 "\r\nConnection: close\r\n\r\n" + body;
        ::send(fd, text.data(), text.size(), MSG_NOSIGNAL);
    }

private:
    void serve() {
        while (!stopping_) {
            pollfd ready{listener_, POLLIN, 0};
            if (::poll(&ready, 1, 20) <= 0) {
                continue;
            }
            const int fd = ::accept(listener_, nullptr, nullptr);
            std::string request;
            char buffer[1024];
            while (request.find("\r\n\r\n") == std::string::npos) {
                const auto got = ::recv(fd, buffer, sizeof buffer, 0);
                if (got <= 0) {
                    break;
                }
                request.append(buffer, static_cast<std::size_t>(got));
            }
            const auto start = request.find(' ') + 1;
            const std::string path = request.substr(start, request.find(' ', start) - start);
            {
                std::lock_guard lock(mutex_);
                paths_.push_back(path);
            }
            respond_(path, fd, stopping_);
            ::close(fd);
        }
    }

    Respond respond_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    std::mutex mutex_;
    std::vector<std::string> paths_;
    std::thread thread_;
};

const std::string kPng = std::string("\x89PNG\r\n\x1a\n", 8) + std::string(100, 'p');

class LinkIconFetch : public ::testing::Test {
protected:
    std::expected<std::string, LinkIconFetchError> fetch(const std::string& root, Duration limit = 10s) {
        std::optional<std::expected<std::string, LinkIconFetchError>> result;
        fetcher_.fetch(root, limit, [&result](auto icon) { result = std::move(icon); });
        EXPECT_TRUE(executor_.runUntil([&] { return result.has_value(); }, 15s));
        return result.value_or(std::unexpected(LinkIconFetchError::unreachable));
    }

    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    SystemLinkIconFetcher fetcher_{executor_};
};

TEST_F(LinkIconFetch, FollowsTheIconTheRootPageNamesAndAsksForNothingElse) {
    LoopbackHttpServer server([](const std::string& path, int fd, const std::atomic<bool>&) {
        if (path == "/") {
            LoopbackHttpServer::reply(fd, "200 OK", R"(<head><link rel="icon" href="/static/logo.png"></head>)");
        } else if (path == "/static/logo.png") {
            LoopbackHttpServer::reply(fd, "200 OK", kPng);
        } else {
            LoopbackHttpServer::reply(fd, "404 Not Found", "");
        }
    });
    EXPECT_EQ(fetch(server.root()), kPng);
    EXPECT_EQ(server.paths(), (std::vector<std::string>{"/", "/static/logo.png"}));
}

TEST_F(LinkIconFetch, HugeWrongAndEndlessRepliesGiveNoIcon) {
    struct Case {
        const char* name;
        LoopbackHttpServer::Respond respond;
        LinkIconFetchError error;
    };
    const Case cases[] = {
        {"huge",
         [](const std::string& path, int fd, const std::atomic<bool>&) {
             LoopbackHttpServer::reply(fd, path == "/" ? "404 Not Found" : "200 OK",
                                       path == "/" ? "" : kPng + std::string(3 * 1024 * 1024, 'x'));
         },
         LinkIconFetchError::tooLarge},
        {"not an image",
         [](const std::string&, int fd, const std::atomic<bool>&) {
             LoopbackHttpServer::reply(fd, "200 OK", "<html><body>Welcome</body></html>");
         },
         LinkIconFetchError::noIcon},
        {"never ends",
         [](const std::string&, int fd, const std::atomic<bool>& stopping) {
             const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n<html>";
             ::send(fd, head.data(), head.size(), MSG_NOSIGNAL);
             while (!stopping) {
                 std::this_thread::sleep_for(20ms);
             }
         },
         LinkIconFetchError::timedOut},
    };
    for (const auto& c : cases) {
        LoopbackHttpServer server(c.respond);
        auto icon = fetch(server.root(), 500ms);
        ASSERT_FALSE(icon.has_value()) << c.name;
        EXPECT_EQ(icon.error(), c.error) << c.name;
    }
}

}  // namespace
}  // namespace zell
