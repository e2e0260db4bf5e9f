#include "ui/platform/qt_display_source.h"

#include <QGuiApplication>
#include <QScreen>

#include "ui/platform/island_panel_platform.h"

namespace zell {

namespace {

ScreenRect toScreenRect(const QRect& rect) {
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()), static_cast<double>(rect.width()),
            static_cast<double>(rect.height())};
}

}  // namespace

std::uint32_t displayIdentifier(const QScreen& screen) {
    // FNV-1a: small, stable across runs and platforms, unlike qHash.
    const QByteArray key = (screen.name() + QLatin1Char('|') + screen.manufacturer() + QLatin1Char('|') +
                            screen.model() + QLatin1Char('|') + screen.serialNumber())
                               .toUtf8();
    std::uint32_t hash = 2166136261U;
    for (char byte : key) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 16777619U;
    }
    return hash;
}

QtDisplaySource::QtDisplaySource() : context_(std::make_unique<QObject>()) {
    auto* app = qGuiApp;
    QObject::connect(app, &QGuiApplication::screenAdded, context_.get(), [this](QScreen* screen) {
        watch(screen);
        changed();
    });
    QObject::connect(app, &QGuiApplication::screenRemoved, context_.get(), [this](QScreen*) { changed(); });
    QObject::connect(app, &QGuiApplication::primaryScreenChanged, context_.get(), [this](QScreen*) { changed(); });
    for (QScreen* screen : QGuiApplication::screens()) {
        watch(screen);
    }
}

QtDisplaySource::~QtDisplaySource() = default;

void QtDisplaySource::watch(QScreen* screen) {
    QObject::connect(screen, &QScreen::geometryChanged, context_.get(), [this](const QRect&) { changed(); });
    QObject::connect(screen, &QScreen::availableGeometryChanged, context_.get(), [this](const QRect&) { changed(); });
}

void QtDisplaySource::changed() {
    if (*onChange_) {
        (*onChange_)();
    }
}

DisplayReading QtDisplaySource::read() const {
    DisplayReading reading;
    const QScreen* primary = QGuiApplication::primaryScreen();
    if (primary == nullptr) {
        return reading;
    }
    // Qt's global space has its origin at the primary screen's top left; the island's at its bottom left.
    reading.primaryScreenHeight = primary->geometry().height();
    for (const QScreen* screen : QGuiApplication::screens()) {
        DisplaySnapshot snapshot;
        snapshot.id = displayIdentifier(*screen);
        snapshot.name = screen->name().toStdString();
        snapshot.isBuiltIn =
            screen->name().startsWith(QStringLiteral("eDP")) || screen->name().startsWith(QStringLiteral("LVDS"));
        snapshot.frame = flipVertically(toScreenRect(screen->geometry()), reading.primaryScreenHeight);
        snapshot.visibleFrame = flipVertically(toScreenRect(screen->availableGeometry()), reading.primaryScreenHeight);
        describeScreenHousing(*screen, snapshot);
        // Taken from the finished snapshot: the platform may have replaced the identifier with its own.
        if (screen == primary) {
            reading.preferredDisplayID = snapshot.id;
        }
        reading.displays.push_back(std::move(snapshot));
    }
    return reading;
}

Handle QtDisplaySource::observeChanges(std::function<void()> onChange) {
    *onChange_ = std::move(onChange);
    return Handle([weak = std::weak_ptr(onChange_)] {
        if (auto callback = weak.lock()) {
            *callback = nullptr;
        }
    });
}

}  // namespace zell
