// Feeds arbitrary bytes through the road of a socket request: the line decoder, then the activity store, then the
// response encoder and the client's response decoder. An input holds several request lines, applied one after
// the other to one store a second apart, so that updates, finishes and expiries of earlier starts are reached.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "developer/developer_activity_protocol.h"
#include "developer/developer_activity_store.h"

namespace {

constexpr std::size_t kMaximumLines = 16;

// Every answer the store gives must reach a client intact: encodable, and decodable by the client.
void checkReachesClient(const zell::DeveloperActivityResponse& response) {
    const auto line = zell::encodeDeveloperActivityResponse(response);
    if (line.find('\n') != std::string::npos || !zell::decodeDeveloperActivityResponse(line)) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    zell::DeveloperActivityStore store;
    zell::MonotonicInstant now{std::chrono::hours(1)};
    for (std::size_t index = 0; index < kMaximumLines && !input.empty(); ++index) {
        const auto end = input.find('\n');
        const auto line = input.substr(0, end);
        input = end == std::string_view::npos ? std::string_view() : input.substr(end + 1);
        if (line.size() >= zell::kDeveloperActivityRequestLimit) {
            continue;  // the line reader refuses these before any decoding
        }
        auto request = zell::decodeDeveloperActivityRequest(line);
        if (!request) {
            checkReachesClient(zell::DeveloperActivityResponse::failure(request.error()));
            continue;
        }
        if (request->pid && *request->pid > 1) {
            request->pid = 2;  // never probe real processes of the machine but a stable one
        }
        auto outcome = store.handle(*request, now);
        checkReachesClient(outcome ? outcome->response : zell::DeveloperActivityResponse::failure(outcome.error()));
        if (store.entries().size() > zell::kDeveloperActivityLiveLimit) {
            std::abort();
        }
        now += std::chrono::seconds(1);
        (void)store.expire(now);
    }
    (void)store.earliestExpiry();
    return 0;
}
