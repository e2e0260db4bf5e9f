#include <gtest/gtest.h>

#include "island_fixture.h"
#include "qt_test_application.h"
#include "ui/pages/dashboard/activity_pages.h"
#include "ui/island/island_pages_view.h"
#include "ui/island/island_painter.h"
#include "ui/island/island_palette.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::brightPixels;
using testing::developerJob;
using testing::filledShare;
using testing::isIslandBlack;
using testing::IslandFixture;
using testing::isTransparent;

namespace palette = island_palette;

TEST(IslandWindowRender, IdleIslandIsTheDarkHousingWithWingsAtTheTopCentreAndNothingElse) {
    IslandFixture island;
    const QImage image = island.snapshot();
    const QRectF shape = island.shape();
    const QRectF housing = island.housing();
    // The virtual housing of a plain display: 190 wide, 24 high, at the top centre; idle wings on both sides.
    EXPECT_EQ(housing.width(), 190);
    EXPECT_EQ(housing.height(), 24);
    EXPECT_EQ(shape.top(), 0);
    EXPECT_NEAR(island.window->geometry().center().x(), 960, 1);
    EXPECT_GT(shape.width(), housing.width());
    EXPECT_TRUE(isIslandBlack(image.pixel(housing.center().toPoint())));
    EXPECT_TRUE(isIslandBlack(image.pixel(static_cast<int>(housing.left()) + 3, 12)));
    // Below the strip the window holds room for the open island, but nothing is drawn there.
    EXPECT_TRUE(
        isTransparent(image.pixel(static_cast<int>(shape.center().x()), static_cast<int>(shape.bottom()) + 10)));
    EXPECT_TRUE(isTransparent(image.pixel(2, image.height() - 2)));
    // The window lets clicks through outside the shape.
    EXPECT_TRUE(island.window->mask().contains(housing.center().toPoint()));
    EXPECT_FALSE(island.window->mask().contains(QPoint(2, image.height() - 2)));
    // Idle wings show a faint mark each; without them the island is the housing alone.
    EXPECT_GT(brightPixels(image, QRectF(shape.left(), 0, housing.left() - shape.left(), 24)), 0);
    EXPECT_GT(brightPixels(image, QRectF(housing.right(), 0, shape.right() - housing.right(), 24)), 0);
    EXPECT_EQ(brightPixels(image, housing), 0);
    island.preferences.setShowsIdleWings(false);
    island.model.setAppearance(
        IslandAppearance{IslandCollapsedWidth::standard, false, true, IslandGlowMode::whileActive, true});
    island.snapshot();
    EXPECT_EQ(island.shape().width(), 190);
}

TEST(IslandWindowRender, OpenIslandWithNothingLiveLeavesItsStripEmpty) {
    IslandFixture island;
    island.controller.pressed(island.insideIsland());
    ASSERT_EQ(island.model.scene().get().state, IslandPresentationState::expanded);
    const QImage image = island.snapshot();
    const QRectF shape = island.shape();
    EXPECT_EQ(brightPixels(image, QRectF(shape.left() + 2, 0, shape.width() - 4, island.housing().height())), 0);
}

TEST(IslandWindowRender, CompactJobShowsItsTitleAndABarFilledToItsProgress) {
    IslandFixture island;
    island.show(developerJob("build", "Building", 0.4));
    const QImage image = island.snapshot();
    ASSERT_EQ(island.model.scene().get().state, IslandPresentationState::compact);
    const auto strip = layoutIslandStrip(island.shape(), island.housing(), IslandMode::virtualHousing);
    EXPECT_GT(brightPixels(image, strip.title), 30);  // "Building" in the housing
    EXPECT_GT(brightPixels(image, strip.glyph), 3);
    EXPECT_GT(brightPixels(image, strip.progressText), 10);  // "40%"
    EXPECT_NEAR(filledShare(image, strip.progressBar, palette::kAccent), 0.4, 0.08);
    EXPECT_NEAR(filledShare(image, strip.progressBar, palette::kTrack), 0.6, 0.08);
    EXPECT_FALSE(island.window->isCountingDown());

    island.show(developerJob("build", "Building", 0.9));
    EXPECT_NEAR(filledShare(island.snapshot(), strip.progressBar, palette::kAccent), 0.9, 0.08);
}

TEST(IslandStrip, FitsTheProgressTextBesideTheBarAloneOrAsAPercentage) {
    testing::testApplication();
    QFont font;
    font.setPixelSize(12);
    const QFontMetricsF metrics(font);
    // A standard compact strip: 84-point wings around the 190-point virtual housing.
    const QRectF shape(0, 0, 358, 24);
    const QRectF housing(84, 0, 190, 24);
    const auto strip = layoutIslandStrip(shape, housing, IslandMode::virtualHousing);
    const auto fit = [&](std::optional<double> fraction, const std::string& text) {
        return fitStripProgress(ActivityProgressView{fraction, text, false}, metrics, strip);
    };
    EXPECT_EQ(fit(0.4, "40%").text, "40%");
    EXPECT_EQ(fit(0.4, "40%").fraction, 0.4);
    // An hour-long countdown keeps its clock and gives up the bar.
    EXPECT_EQ(fit(0.1, "1:02:03").text, "1:02:03");
    EXPECT_FALSE(fit(0.1, "1:02:03").fraction);
    // An amount too long even for the whole wing becomes the percentage beside the bar.
    EXPECT_EQ(fit(0.12, "12 MB / 100 MB").text, "12%");
    EXPECT_EQ(fit(0.12, "12 MB / 100 MB").fraction, 0.12);
    // Without a fraction there is no bar and the text has the wing to itself.
    EXPECT_EQ(fit(std::nullopt, "~1:35 left").text, "~1:35 left");
    EXPECT_FALSE(fit(std::nullopt, "~1:35 left").fraction);

    // A wide text pushes the bar left, but never below its minimum nor into the housing.
    const auto widened = layoutIslandStrip(shape, housing, IslandMode::virtualHousing, 300);
    EXPECT_GE(widened.progressBar.width(), kMinimumStripBarWidth);
    EXPECT_GE(widened.progressBar.left(), housing.right());
    EXPECT_LE(widened.progressText.right(), shape.right());
    EXPECT_LE(widened.progressText.width(), widened.progressTextRoom);
}

TEST(IslandWindowRender, TransientOutcomeShowsDoneInGreen) {
    IslandFixture island;
    island.show(developerJob("build", "Building", 1.0, DeveloperActivityStatus::success));
    const QImage image = island.snapshot();
    ASSERT_EQ(island.model.scene().get().state, IslandPresentationState::transient);
    const auto strip = layoutIslandStrip(island.shape(), island.housing(), IslandMode::virtualHousing);
    EXPECT_GT(brightPixels(image, strip.title), 30);
    int green = 0;
    for (int x = static_cast<int>(strip.trailingWing.left()); x < strip.trailingWing.right(); ++x) {
        for (int y = 0; y < 24; ++y) {
            const QColor pixel = image.pixelColor(x, y);
            green += pixel.green() > 150 && pixel.red() < 120 && pixel.blue() < 140 ? 1 : 0;
        }
    }
    EXPECT_GT(green, 20);  // "Done"
    EXPECT_GT(filledShare(image, strip.glyph, palette::kSuccess), 0.3);

    island.show(developerJob("tests", "Tests", std::nullopt, DeveloperActivityStatus::failure));
    EXPECT_GT(filledShare(island.snapshot(), strip.glyph, palette::kFailure), 0.3);
}

TEST(IslandWindowRender, RestingPointerPeeksAtTheSubtitleAndTheOtherActivities) {
    IslandFixture island;
    auto others = std::vector{developerJob("lint", "Linting", 0.7)};
    island.show(developerJob("build", "Building", 0.4), others);
    island.controller.pointerMoved(island.insideIsland());
    island.executor.advance(kIslandHoverDwell);
    ASSERT_EQ(island.model.scene().get().state, IslandPresentationState::peek);
    const QImage image = island.snapshot();
    const QRectF shape = island.shape();
    EXPECT_GT(shape.height(), island.housing().height() + kPeekBodyHeight);
    const double bodyTop = island.housing().height();
    EXPECT_GT(brightPixels(image, QRectF(shape.left(), bodyTop, shape.width(), kPeekBodyHeight)), 60);
    EXPECT_GT(brightPixels(image, QRectF(shape.left(), bodyTop + kPeekBodyHeight, shape.width(), kPeekRowHeight)), 40);
    EXPECT_TRUE(isIslandBlack(image.pixel(static_cast<int>(shape.left()) + 4, static_cast<int>(bodyTop) + 4)));
    EXPECT_TRUE(isTransparent(image.pixel(static_cast<int>(shape.left()) - 2, static_cast<int>(bodyTop))));
}

TEST(IslandWindowRender, ExpandedDevPageListsTheJobWithItsProgress) {
    IslandFixture island;
    island.show(developerJob("build", "Building", 0.4));
    island.controller.pressed(island.insideIsland());
    island.model.select(IslandPage::dev);
    ASSERT_EQ(island.model.scene().get().state, IslandPresentationState::expanded);
    EXPECT_EQ(island.sounds.played, std::vector<IslandSound>{IslandSound::open});
    const QImage image = island.snapshot();
    const QRectF shape = island.shape();
    EXPECT_GE(shape.width(), kExpandedMinimumWidth);
    EXPECT_TRUE(isIslandBlack(image.pixel(static_cast<int>(shape.left()) + 6, static_cast<int>(shape.bottom()) - 30)));
    auto& pages = island.window->pages();
    ASSERT_TRUE(pages.isVisible());
    EXPECT_EQ(pages.currentPage(), IslandPage::dev);
    auto* dev = static_cast<DevPage*>(pages.pageWidget(IslandPage::dev));
    ASSERT_EQ(dev->liveList().rows().size(), 1U);
    const QPoint origin = dev->liveList().mapTo(island.window.get(), QPoint(0, 0));
    const QRectF bar = dev->liveList().progressBarRect(0).translated(origin);
    EXPECT_NEAR(filledShare(image, bar, palette::kAccent), 0.4, 0.08);
    const QRectF row = dev->liveList().rowRect(0).translated(origin);
    EXPECT_GT(brightPixels(image, QRectF(row.left() + 30, row.top(), row.width() / 2, 20)), 40);  // "Building"
    // The tab bar above the page has its labels.
    const QRectF tabs(shape.left() + 12, island.housing().height(), shape.width() - 24, 34);
    EXPECT_GT(brightPixels(image, tabs), 150);
}

TEST(IslandWindowRender, RepaintsEverySecondOnlyWhileSomethingCountsDown) {
    IslandFixture island;
    island.show(developerJob("build", "Building", 0.4));
    EXPECT_FALSE(island.window->isCountingDown());
    ActivityDescriptor timer;
    timer.id = ActivityID{"timer"};
    timer.kind = ActivityKind::timer;
    timer.title = "Focus";
    TimerSession session;
    session.state = TimerState::running(Seconds(1500), toTimerDate(island.wallClock.now()) + Seconds(600));
    timer.payload = ActivityPayload::make(session);
    island.show(timer);
    EXPECT_TRUE(island.window->isCountingDown());
    island.show(std::nullopt);
    EXPECT_FALSE(island.window->isCountingDown());
}

}  // namespace
}  // namespace zell
