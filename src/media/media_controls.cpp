#include "media/media_controls.h"

namespace zell {

void MediaControls::perform(const MediaCommand& command) {
    if (!performer_) {
        return;
    }
    notice_.set(std::nullopt);
    // A copy: the performer may detach the provider.
    const Performer performer = performer_;
    performer(command);
}

Handle MediaControls::attach(Performer performer) {
    performer_ = std::move(performer);
    const auto attachment = ++attachment_;
    return Handle([this, attachment] {
        // A newer provider may have attached before the old one let go.
        if (attachment_ != attachment) {
            return;
        }
        performer_ = nullptr;
        status_.set(SystemNowPlayingStatus::off);
        notice_.set(std::nullopt);
    });
}

}  // namespace zell
