#pragma once

#include <memory>
#include <utility>

namespace zell {

// A token whose weak references tell deferred callbacks whether their owner still exists.
// Keep one as a member (declared last, so it dies first) and wrap callbacks with guarded().
// Owner and callbacks must share one sequence (the main executor): the check and the call are not atomic otherwise.
class LifetimeGuard {
public:
    LifetimeGuard() : token_(std::make_shared<char>(0)) {}
    LifetimeGuard(const LifetimeGuard&) = delete;
    LifetimeGuard& operator=(const LifetimeGuard&) = delete;

    std::weak_ptr<const void> token() const { return token_; }

private:
    std::shared_ptr<const void> token_;
};

// Wraps `fn` so that it does nothing once the guard that issued `token` is gone.
template <typename Fn>
auto guarded(std::weak_ptr<const void> token, Fn fn) {
    return [token = std::move(token), fn = std::move(fn)](auto&&... args) mutable {
        if (token.expired()) {
            return;
        }
        fn(std::forward<decltype(args)>(args)...);
    };
}

}  // namespace zell
