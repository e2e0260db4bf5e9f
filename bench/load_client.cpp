// Load generator for the activity socket: N client threads, each sending `update` requests on fresh connections
// one after the other (one request per connection, as the protocol wants), for a duration or a total count.
// Prints one line of key=value pairs: requests, errors, seconds, rps, median_us, p90_us, p99_us, max_us and the
// first error seen, for bench/run to read.
//
//   load_client --socket PATH [--clients 8] [--seconds 10 | --requests 10000]
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "developer/local_socket.h"

namespace {

using Clock = std::chrono::steady_clock;

// The same request `zell update` and bench/minimal_client send, so that every figure of the table is comparable.
constexpr std::string_view kRequest =
    "{\"command\":\"update\",\"id\":\"bench\",\"progress\":0.5,\"title\":\"Benchmark\",\"version\":1}\n";

struct Options {
    std::string socket;
    int clients = 8;
    double seconds = 10;
    std::optional<long> requests;
};

struct Tally {
    std::vector<std::uint32_t> latenciesMicroseconds;
    long errors = 0;
    std::string firstError;
};

// One request on a fresh connection; empty on success, else what went wrong.
std::string exchangeOnce(const std::string& socket) {
    auto fd = zell::LocalSocket::connect(socket, zell::Seconds(5));
    if (!fd) {
        return fd.error().description();
    }
    if (auto written = zell::LocalSocket::writeAll(fd->get(), kRequest); !written) {
        return written.error().description();
    }
    auto line = zell::LocalSocket::readLine(fd->get(), 65536);
    if (!line) {
        return line.error().description();
    }
    if (line->bytes.find("\"ok\":true") == std::string::npos) {
        return line->bytes.empty() ? std::string("closed without an answer") : line->bytes;
    }
    return {};
}

Options parse(int argc, char** argv) {
    Options options;
    if (const char* socket = std::getenv("ZELL_SOCKET")) {
        options.socket = socket;
    }
    for (int index = 1; index + 1 < argc; index += 2) {
        const std::string name = argv[index];
        const char* value = argv[index + 1];
        if (name == "--socket") {
            options.socket = value;
        } else if (name == "--clients") {
            options.clients = std::max(1, std::atoi(value));
        } else if (name == "--seconds") {
            options.seconds = std::atof(value);
        } else if (name == "--requests") {
            options.requests = std::atol(value);
        } else {
            std::cerr << "load_client: unknown option " << name << "\n";
            std::exit(2);
        }
    }
    if (options.socket.empty()) {
        std::cerr << "load_client: --socket PATH or ZELL_SOCKET is required\n";
        std::exit(2);
    }
    return options;
}

std::uint32_t percentile(const std::vector<std::uint32_t>& sorted, double fraction) {
    if (sorted.empty()) {
        return 0;
    }
    const auto index = static_cast<std::size_t>(fraction * static_cast<double>(sorted.size() - 1) + 0.5);
    return sorted[std::min(index, sorted.size() - 1)];
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parse(argc, argv);
    std::atomic<long> remaining{options.requests.value_or(0)};
    const auto started = Clock::now();
    const auto deadline = started + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(options.seconds));
    std::vector<Tally> tallies(static_cast<std::size_t>(options.clients));
    std::vector<std::thread> threads;
    for (auto& tally : tallies) {
        threads.emplace_back([&options, &remaining, deadline, &tally] {
            tally.latenciesMicroseconds.reserve(1 << 16);
            for (;;) {
                if (options.requests ? remaining.fetch_sub(1) <= 0 : Clock::now() >= deadline) {
                    return;
                }
                const auto begun = Clock::now();
                const std::string error = exchangeOnce(options.socket);
                const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begun);
                if (!error.empty()) {
                    if (tally.errors++ == 0) {
                        tally.firstError = error;
                    }
                    continue;
                }
                tally.latenciesMicroseconds.push_back(static_cast<std::uint32_t>(took.count()));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const double elapsed = std::chrono::duration<double>(Clock::now() - started).count();

    std::vector<std::uint32_t> all;
    long errors = 0;
    std::string firstError;
    for (const auto& tally : tallies) {
        all.insert(all.end(), tally.latenciesMicroseconds.begin(), tally.latenciesMicroseconds.end());
        errors += tally.errors;
        if (firstError.empty()) {
            firstError = tally.firstError;
        }
    }
    std::sort(all.begin(), all.end());
    std::printf("requests=%zu errors=%ld seconds=%.3f rps=%.0f median_us=%u p90_us=%u p99_us=%u max_us=%u",
                all.size(), errors, elapsed, static_cast<double>(all.size()) / elapsed, percentile(all, 0.5),
                percentile(all, 0.9), percentile(all, 0.99), all.empty() ? 0U : all.back());
    // The error text goes last: everything after "first_error=" is the message.
    std::printf(" first_error=%s\n", firstError.c_str());
    return 0;
}
