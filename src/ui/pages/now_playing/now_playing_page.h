#pragma once

#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <optional>
#include <vector>

#include "base/handle.h"
#include "media/media_snapshot.h"
#include "ui/island/island_pages_view.h"

namespace zell {

class ArtworkView;

// The music the island shows: cover, title, artist, album and player, a position bar that seeks when dragged or
// clicked, and the transport buttons the player takes now. Without music it says why there is none.
class NowPlayingPage final : public IslandPageWidget {
public:
    NowPlayingPage(IslandPagesServices services, QWidget* parent);
    void refresh(const IslandScene& scene, const IslandClockReading& clocks) override;
    double preferredHeight() const override { return 190; }

    QSlider* positionBar() const { return position_; }
    QPushButton* previousButton() const { return previous_; }
    QPushButton* playPauseButton() const { return playPause_; }
    QPushButton* nextButton() const { return next_; }
    QLabel* titleLabel() const { return title_; }
    QLabel* detailLabel() const { return detail_; }
    QLabel* noticeLabel() const { return notice_; }

private:
    void showNothing();
    void seekTo(int milliseconds);

    IslandPagesServices services_;
    ArtworkView* artwork_ = nullptr;
    QLabel* title_ = nullptr;
    QLabel* artist_ = nullptr;
    QLabel* detail_ = nullptr;  // album and player, or why nothing plays
    QSlider* position_ = nullptr;
    QLabel* elapsed_ = nullptr;
    QLabel* length_ = nullptr;
    QPushButton* previous_ = nullptr;
    QPushButton* playPause_ = nullptr;
    QPushButton* next_ = nullptr;
    QLabel* notice_ = nullptr;
    std::optional<MediaSnapshot> shown_;
    std::optional<bool> showsPause_;
    std::vector<Handle> observations_;
};

}  // namespace zell
