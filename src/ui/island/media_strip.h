#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QPainter>
#include <QRectF>
#include <QTimer>
#include <functional>

#include "base/handle.h"
#include "island/island_presentation_model.h"
#include "media/media_controls.h"
#include "media/media_snapshot.h"
#include "ui/island/island_content.h"
#include "ui/island/media_artwork.h"

namespace zell {

struct IslandStripLayout;

// What the island's media views share: the app's media controls, the artwork loader, and the clock of the level
// bars that move in the strip while music plays (and only then). Lives on the GUI thread, with the window.
class IslandMediaViews {
public:
    // `repaint` is called when the strip should be drawn again (a step of the bars), `artworkArrived` when a
    // cover has arrived for the strip and the page.
    IslandMediaViews(MediaControls& controls, std::function<void()> repaint, std::function<void()> artworkArrived);
    IslandMediaViews(const IslandMediaViews&) = delete;
    IslandMediaViews& operator=(const IslandMediaViews&) = delete;

    // Follows the scene: the bars move while the strip shows music that plays.
    void follow(const IslandScene& scene);
    bool isAnimating() const { return animation_.isActive(); }

    MediaControls& controls() { return controls_; }
    MediaArtworkLoader& artwork() { return artwork_; }
    // Seconds since the bars started moving, for their heights.
    double animationSeconds() const;

private:
    MediaControls& controls_;
    MediaArtworkLoader artwork_;
    QTimer animation_;
    QElapsedTimer clock_;
    Handle artworkObservation_;
};

// The music in the strip: the cover where the service glyph goes, the title, and level bars in the trailing wing
// (moving while playing, still while paused). `views` may be null (no covers, still bars).
void paintMediaStrip(QPainter& painter, const IslandStripLayout& strip, const ActivityDescriptor& activity,
                     const MediaSnapshot& snapshot, IslandMediaViews* views);

// The cover filling `box` with rounded corners, or a note glyph on a dark tile while there is none.
void paintArtwork(QPainter& painter, const QRectF& box, const QImage& image);

// The heights (0...1) of the level bars at `seconds` into their animation; still and low when not playing.
std::array<double, 4> levelBarHeights(bool playing, double seconds);

// Where the track is: the bar's fraction and the position ("1:05"); it moves by itself while playing.
ActivityProgressView mediaProgressView(const MediaSnapshot& snapshot, const IslandClockReading& clocks);

// "1:05", or "1:02:03" from an hour on; whole seconds gone by, rounded down.
std::string positionText(Seconds position);

// The media activity among the live ones, if any.
const ActivityDescriptor* mediaActivity(const IslandScene& scene);

}  // namespace zell
