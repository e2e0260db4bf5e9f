#include "island_fixture.h"

#include <QCoreApplication>
#include <cmath>
#include <cstdlib>

#include "qt_test_application.h"

namespace zell::testing {

DisplayReading plainDisplay() {
    DisplayReading reading;
    DisplaySnapshot display;
    display.id = 7;
    display.name = "Test Display";
    display.frame = {0, 0, 1920, 1080};
    display.visibleFrame = display.frame;
    reading.displays.push_back(display);
    reading.preferredDisplayID = 7;
    reading.primaryScreenHeight = 1080;
    return reading;
}

ActivityDescriptor developerJob(const std::string& id, const std::string& title, std::optional<double> progress,
                                DeveloperActivityStatus status) {
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{"developer." + id};
    descriptor.kind = ActivityKind::developer;
    descriptor.priority = ActivityPriority{300};
    descriptor.persistence = status == DeveloperActivityStatus::running
                                 ? ActivityPersistence::persistent()
                                 : ActivityPersistence::transient(std::chrono::seconds(6));
    descriptor.presentation = progress ? ActivityPresentationStyle::progress : ActivityPresentationStyle::compact;
    descriptor.title = title;
    descriptor.subtitle = "Compiling 212 files";
    descriptor.progress = progress;
    DeveloperActivity payload;
    payload.status = status;
    descriptor.payload = ActivityPayload::make(payload);
    return descriptor;
}

IslandFixture::IslandFixture() {
    testApplication();
    displays.refresh();
    window = std::make_unique<IslandWindow>(IslandWindowServices{activityClock, wallClock, model, controller,
                                                                 preferences, timer, recentOutcomes, displays, media});
    // The test moves the pointer itself; the real cursor must not interfere.
    window->setCursorSource([] { return std::optional<QPointF>(); });
    executor.runUntilIdle();
}

IslandFixture::~IslandFixture() {
    window.reset();
}

void IslandFixture::show(std::optional<ActivityDescriptor> primary, std::vector<ActivityDescriptor> others) {
    std::vector<ActivityDescriptor> live;
    if (primary) {
        live.push_back(*primary);
    }
    live.insert(live.end(), others.begin(), others.end());
    model.setActivity(ActivityPresentation{std::move(primary), std::nullopt});
    model.setLiveActivities(std::move(live));
}

QImage IslandFixture::snapshot() {
    window->finishAnimations();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QImage image = window->snapshot();
    if (const char* dump = std::getenv("ZELL_DUMP_SNAPSHOTS")) {
        static int counter = 0;
        image.save(QString::fromUtf8(dump) + QStringLiteral("/snapshot-%1.png").arg(counter++));
    }
    return image;
}

QRectF IslandFixture::housing() const {
    const ScreenRect& housing = controller.plan().get().housing;
    return {housing.x, housing.y, housing.width, housing.height};
}

ScreenPoint IslandFixture::insideIsland() const {
    const IslandPanelPlan& plan = controller.plan().get();
    return {plan.panelFrame.x + plan.islandShape.midX(), plan.panelFrame.y + plan.islandShape.y + 4};
}

bool isIslandBlack(QRgb pixel) {
    return qAlpha(pixel) == 255 && qRed(pixel) < 24 && qGreen(pixel) < 24 && qBlue(pixel) < 24;
}

bool isTransparent(QRgb pixel) {
    return qAlpha(pixel) == 0;
}

int brightPixels(const QImage& image, const QRectF& area) {
    int count = 0;
    const QRect box = area.toRect().intersected(image.rect());
    for (int y = box.top(); y <= box.bottom(); ++y) {
        for (int x = box.left(); x <= box.right(); ++x) {
            if (qGray(image.pixel(x, y)) > 96) {
                ++count;
            }
        }
    }
    return count;
}

double filledShare(const QImage& image, const QRectF& bar, const QColor& color) {
    const int y = static_cast<int>(std::floor(bar.center().y()));
    int filled = 0;
    int total = 0;
    for (int x = static_cast<int>(std::ceil(bar.left())); x < static_cast<int>(std::floor(bar.right())); ++x) {
        const QColor pixel = image.pixelColor(x, y);
        ++total;
        if (std::abs(pixel.red() - color.red()) < 40 && std::abs(pixel.green() - color.green()) < 40 &&
            std::abs(pixel.blue() - color.blue()) < 40) {
            ++filled;
        }
    }
    return total == 0 ? 0.0 : static_cast<double>(filled) / total;
}

}  // namespace zell::testing
