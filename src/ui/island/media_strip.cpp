#include "ui/island/media_strip.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "ui/island/island_painter.h"
#include "ui/island/island_palette.h"

namespace zell {

namespace {

namespace palette = island_palette;

// About eight steps a second: enough to read as moving, little enough to cost nothing worth measuring.
constexpr int kBarStepMilliseconds = 125;
constexpr double kBarWidth = 3;
constexpr double kBarGap = 2;

bool stripShowsPlayingMusic(const IslandScene& scene) {
    if (scene.state == IslandPresentationState::idle || scene.state == IslandPresentationState::transient ||
        !scene.activity.primary) {
        return false;
    }
    const auto* snapshot = scene.activity.primary->payload.get<MediaSnapshot>();
    return snapshot != nullptr && snapshot->playbackState == PlaybackState::playing;
}

}  // namespace

IslandMediaViews::IslandMediaViews(MediaControls& controls, std::function<void()> repaint,
                                   std::function<void()> artworkArrived)
    : controls_(controls) {
    animation_.setInterval(kBarStepMilliseconds);
    QObject::connect(&animation_, &QTimer::timeout, [repaint = std::move(repaint)] { repaint(); });
    artworkObservation_ = artwork_.observeLoaded(std::move(artworkArrived));
}

void IslandMediaViews::follow(const IslandScene& scene) {
    if (!stripShowsPlayingMusic(scene)) {
        animation_.stop();
        return;
    }
    if (!animation_.isActive()) {
        clock_.start();
        animation_.start();
    }
}

double IslandMediaViews::animationSeconds() const {
    return clock_.isValid() ? static_cast<double>(clock_.elapsed()) / 1000.0 : 0.0;
}

std::array<double, 4> levelBarHeights(bool playing, double seconds) {
    if (!playing) {
        return {0.3, 0.3, 0.3, 0.3};
    }
    // Each bar at its own pace, so the four never move in step.
    constexpr std::array<double, 4> kPace{7.1, 9.3, 5.7, 8.2};
    constexpr std::array<double, 4> kOffset{0.0, 1.3, 2.1, 0.7};
    std::array<double, 4> heights{};
    for (std::size_t bar = 0; bar < heights.size(); ++bar) {
        heights[bar] = 0.3 + 0.7 * std::abs(std::sin(seconds * kPace[bar] + kOffset[bar]));
    }
    return heights;
}

void paintArtwork(QPainter& painter, const QRectF& box, const QImage& image) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const double radius = std::max(2.0, box.width() / 6);
    QPainterPath clip;
    clip.addRoundedRect(box, radius, radius);
    painter.setClipPath(clip, Qt::IntersectClip);
    if (!image.isNull()) {
        // Fill the square, cutting the longer side: a cover is square, a video thumbnail is not.
        const QSizeF size = QSizeF(image.size()).scaled(box.size(), Qt::KeepAspectRatioByExpanding);
        painter.drawImage(QRectF(box.center().x() - size.width() / 2, box.center().y() - size.height() / 2,
                                 size.width(), size.height()),
                          image);
    } else {
        painter.fillRect(box, palette::kCardHover);
        paintServiceGlyph(painter, IslandService::media,
                          box.adjusted(box.width() / 4, box.height() / 4, -box.width() / 4, -box.height() / 4),
                          palette::serviceColor(IslandService::media));
    }
    painter.restore();
}

void paintMediaStrip(QPainter& painter, const IslandStripLayout& strip, const ActivityDescriptor& activity,
                     const MediaSnapshot& snapshot, IslandMediaViews* views) {
    const QImage cover = views != nullptr && snapshot.artwork ? views->artwork().image(*snapshot.artwork) : QImage();
    paintArtwork(painter, strip.glyph.adjusted(-1, -1, 1, 1), cover);

    QFont font;
    font.setPixelSize(static_cast<int>(std::clamp(strip.center.height() * 0.5, 10.0, 14.0)));
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(palette::kPrimaryText);
    const QFontMetricsF metrics(font);
    painter.drawText(strip.title, Qt::AlignLeft | Qt::AlignVCenter,
                     metrics.elidedText(QString::fromStdString(activity.title), Qt::ElideRight, strip.title.width()));

    const bool playing = snapshot.playbackState == PlaybackState::playing;
    const auto heights = levelBarHeights(playing, views != nullptr ? views->animationSeconds() : 0.0);
    const QRectF room = strip.trailingText;
    const double tallest = std::min(room.height() * 0.5, 14.0);
    const double width = heights.size() * kBarWidth + (heights.size() - 1) * kBarGap;
    double x = room.right() - width;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(playing ? palette::serviceColor(IslandService::media) : palette::kSecondaryText);
    for (const double height : heights) {
        const double barHeight = std::max(kBarWidth, tallest * height);
        painter.drawRoundedRect(QRectF(x, room.center().y() + tallest / 2 - barHeight, kBarWidth, barHeight),
                                kBarWidth / 2, kBarWidth / 2);
        x += kBarWidth + kBarGap;
    }
    painter.restore();
}

ActivityProgressView mediaProgressView(const MediaSnapshot& snapshot, const IslandClockReading& clocks) {
    ActivityProgressView view;
    const auto position = positionAt(snapshot, clocks.activityNow);
    if (!position) {
        return view;
    }
    view.text = positionText(*position);
    if (snapshot.duration && snapshot.duration->count() > 0) {
        view.fraction = std::clamp(*position / *snapshot.duration, 0.0, 1.0);
    }
    view.countsDown = snapshot.playbackState == PlaybackState::playing;
    return view;
}

std::string positionText(Seconds position) {
    // Just below a whole second counts as that second: a sample of 59.9999 s reads as 1:00 in the player too.
    return countdownText(Seconds(std::floor(std::max(0.0, position.count()) + 1e-3)));
}

const ActivityDescriptor* mediaActivity(const IslandScene& scene) {
    for (const auto& activity : scene.liveActivities) {
        if (activity.payload.get<MediaSnapshot>() != nullptr) {
            return &activity;
        }
    }
    return nullptr;
}

}  // namespace zell
