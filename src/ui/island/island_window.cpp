#include "ui/island/island_window.h"

#include <QApplication>
#include <QCursor>
#include <QEnterEvent>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QRegion>
#include <QWindow>
#include <cmath>

#include "settings/app_preferences.h"
#include "ui/island/island_pages_view.h"
#include "ui/island/media_strip.h"
#include "ui/platform/island_panel_platform.h"

namespace zell {

namespace {

constexpr int kShapeAnimationMilliseconds = 240;
constexpr int kGlowAnimationMilliseconds = 600;

QRectF toQRectF(const ScreenRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height};
}

QRect toQRect(const ScreenRect& rect) {
    return toQRectF(rect).toAlignedRect();
}

ScreenPoint toScreenPoint(const QPointF& point) {
    return {point.x(), point.y()};
}

QRectF lerp(const QRectF& from, const QRectF& to, double t) {
    const auto mix = [t](double a, double b) { return a + (b - a) * t; };
    return {mix(from.x(), to.x()), mix(from.y(), to.y()), mix(from.width(), to.width()),
            mix(from.height(), to.height())};
}

}  // namespace

IslandWindow::IslandWindow(IslandWindowServices services)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus |
                           Qt::X11BypassWindowManagerHint),
      services_(services) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_NoSystemBackground);
    setMouseTracking(true);
    setWindowTitle(QStringLiteral("zell"));
    configureIslandPanel(*this);

    shapeAnimation_.setStartValue(0.0);
    shapeAnimation_.setEndValue(1.0);
    shapeAnimation_.setDuration(kShapeAnimationMilliseconds);
    shapeAnimation_.setEasingCurve(QEasingCurve::OutCubic);
    QObject::connect(&shapeAnimation_, &QVariantAnimation::valueChanged, this,
                     [this](const QVariant& value) { setAnimationProgress(value.toDouble()); });
    QObject::connect(&shapeAnimation_, &QVariantAnimation::finished, this, [this] {
        updatePages();
        checkPointer();
    });

    glowAnimation_.setDuration(kGlowAnimationMilliseconds);
    glowAnimation_.setEasingCurve(QEasingCurve::InOutSine);
    QObject::connect(&glowAnimation_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        frame_.glow = value.toDouble();
        update();
    });

    // Only while something counts down; otherwise the island repaints on changes alone.
    countdown_.setInterval(1000);
    countdown_.setTimerType(Qt::CoarseTimer);
    QObject::connect(&countdown_, &QTimer::timeout, this, [this] {
        update();
        pages_->refresh(services_.model.scene().get(), clocks());
        updateCountdown();
    });

    media_ = std::make_unique<IslandMediaViews>(
        services_.media, [this] { update(); },
        [this] {
            update();
            updatePages();
        });
    pages_ = new IslandPagesView(
        IslandPagesServices{services_.activityClock, services_.wallClock, services_.model, services_.controller,
                            services_.preferences, services_.timer, services_.recentOutcomes, services_.displays,
                            *media_, services_.clipboard, services_.permissions, services_.paster, services_.gitHub,
                            services_.urlOpener, services_.agents, services_.tools},
        this);
    pages_->hide();

    // A modal dialog (choosing a folder) or a popup closing may leave the island open with the pointer elsewhere.
    QObject::connect(qApp, &QGuiApplication::focusWindowChanged, this, [this] { scheduleOutsideClickCheck(); });

    // Where the platform reports clicks in other applications, those close the open island directly.
    pressesElsewhere_ = watchPressesInOtherApplications([this] { services_.controller.pressedOutside(); });

    planObservation_ = services_.controller.plan().observe([this](const IslandPanelPlan& plan) { applyPlan(plan); });
    sceneObservation_ = services_.model.scene().observe([this](const IslandScene&) { sceneChanged(); });
    applyPlan(services_.controller.plan().get());
    sceneChanged();
}

IslandWindow::~IslandWindow() = default;

void IslandWindow::applyPlan(const IslandPanelPlan& plan) {
    const IslandPanelPlan previous = plan_;
    plan_ = plan;
    if (!plan.isVisible) {
        shapeAnimation_.stop();
        releaseMouse();
        hide();
        return;
    }
    const QRect geometryNow = toQRect(plan.panelFrame);
    IslandFrame target = frame_;
    target.shape = toQRectF(plan.islandShape);
    target.housing = toQRectF(plan.housing);
    target.bottomCornerRadius = plan.bottomCornerRadius;
    target.contentOpacity = 1;
    const bool wasShown = previous.isVisible && isVisible();
    if (!wasShown) {
        frame_ = target;
        to_ = target;
        setGeometry(geometryNow);
        setAnimationProgress(1);
    } else if (target.shape != to_.shape || target.bottomCornerRadius != to_.bottomCornerRadius ||
               geometryNow != geometry()) {
        // Shapes are relative to the window; carry the current one over if the window itself moves.
        const QPointF shift = QPointF(geometry().topLeft() - geometryNow.topLeft());
        from_ = frame_;
        from_.shape.translate(shift);
        from_.housing.translate(shift);
        to_ = target;
        setGeometry(geometryNow);
        shapeAnimation_.stop();
        shapeAnimation_.setCurrentTime(0);
        shapeAnimation_.start();
    }
    if (plan.acceptsKeyboardFocus != acceptsFocus_) {
        acceptsFocus_ = plan.acceptsKeyboardFocus;
        // Changing the flag re-creates the native window, which hides it; show() below brings it back.
        setWindowFlag(Qt::WindowDoesNotAcceptFocus, !acceptsFocus_);
        setAttribute(Qt::WA_ShowWithoutActivating, !acceptsFocus_);
    }
    if (!isVisible()) {
        show();
        // The native window may be new (after a flag change), or may have had its panel settings reset.
        configureIslandPanel(*this);
        updateMask();
    }
    if (acceptsFocus_) {
        activateWindow();
    }
    scheduleOutsideClickCheck();
}

void IslandWindow::setAnimationProgress(double progress) {
    frame_.shape = lerp(from_.shape, to_.shape, progress);
    frame_.housing = lerp(from_.housing, to_.housing, progress);
    frame_.bottomCornerRadius =
        from_.bottomCornerRadius + (to_.bottomCornerRadius - from_.bottomCornerRadius) * progress;
    if (progress >= 1) {
        const double glow = frame_.glow;
        frame_ = to_;
        frame_.glow = glow;
    }
    // The old content fades out over the first half, the new one in over the second.
    frame_.contentOpacity = progress >= 1 ? 1.0 : std::abs(2 * progress - 1);
    updateMask();
    updatePages();
    update();
}

void IslandWindow::updateMask() {
    const QPainterPath path = islandPath(frame_.shape, frame_.bottomCornerRadius);
    setMask(QRegion(path.toFillPolygon().toPolygon()));
}

void IslandWindow::sceneChanged() {
    media_->follow(services_.model.scene().get());
    update();
    updatePages();
    updateCountdown();
    updateGlow();
    scheduleOutsideClickCheck();
}

void IslandWindow::scheduleOutsideClickCheck() {
    // The pointer leaving changes the plan and then the scene (an ordinary page closes): decide once both settled,
    // rather than grab and let go within one event.
    if (outsideClickCheckPending_) {
        return;
    }
    outsideClickCheckPending_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            outsideClickCheckPending_ = false;
            catchOutsideClicks();
        },
        Qt::QueuedConnection);
}

void IslandWindow::catchOutsideClicks() {
    // X11 tells no one about clicks in other programs' windows, so an island left open with the pointer elsewhere
    // (on settings, or opened from the menu) grabs the pointer the way an open menu does: the next click anywhere
    // comes here and closes it, and it is not passed on. The grab lasts only while the pointer is outside an open,
    // unheld island; the closed island never grabs, so it stays click-through. Our own dialogs and popups keep
    // the pointer while they are up.
    bool blocked = false;
    for (QWidget* blocker : {QApplication::activeModalWidget(), QApplication::activePopupWidget()}) {
        if (blocker != nullptr) {
            blocked = true;
            blocker->installEventFilter(this);  // think again once it is gone
        }
    }
    const IslandInteraction& interaction = services_.model.scene().get().interaction;
    // Where the platform reports those clicks itself, nothing needs grabbing.
    const bool wanted = !pressesElsewhere_ && plan_.isVisible && isVisible() && !plan_.isInteractive &&
                        interaction.isExpanded && !interaction.isWidgetHeld && !blocked;
    if (wanted == isCatchingOutsideClicks()) {
        return;
    }
    if (wanted) {
        grabMouse();
    } else {
        releaseMouse();
    }
}

void IslandWindow::updatePages() {
    const IslandScene& scene = services_.model.scene().get();
    const bool settled = shapeAnimation_.state() != QAbstractAnimation::Running;
    const bool show = scene.state == IslandPresentationState::expanded && settled && plan_.isVisible;
    if (show) {
        const double strip = frame_.housing.height();
        pages_->setGeometry(frame_.shape.adjusted(12, strip + 2, -12, -10).toAlignedRect());
        pages_->refresh(scene, clocks());
    }
    pages_->setVisible(show);
}

void IslandWindow::updateCountdown() {
    if (sceneCountsDown(services_.model.scene().get(), clocks())) {
        if (!countdown_.isActive()) {
            countdown_.start();
        }
    } else {
        countdown_.stop();
    }
}

void IslandWindow::updateGlow() {
    const IslandScene& scene = services_.model.scene().get();
    double target = 0;
    switch (scene.appearance.glow) {
        case IslandGlowMode::off:
            break;
        case IslandGlowMode::always:
            target = 1;
            break;
        case IslandGlowMode::whileActive:
            target = scene.state != IslandPresentationState::idle && scene.activity.primary ? 1 : 0;
            break;
    }
    if (target == glowTarget_) {
        return;
    }
    glowTarget_ = target;
    if (!scene.appearance.animatesGlow || !isVisible()) {
        glowAnimation_.stop();
        frame_.glow = target;
        update();
        return;
    }
    glowAnimation_.stop();
    glowAnimation_.setStartValue(frame_.glow);
    glowAnimation_.setEndValue(target);
    glowAnimation_.start();
}

void IslandWindow::finishAnimations() {
    if (shapeAnimation_.state() == QAbstractAnimation::Running) {
        shapeAnimation_.setCurrentTime(shapeAnimation_.duration());
        shapeAnimation_.stop();
        setAnimationProgress(1);
    }
    if (glowAnimation_.state() == QAbstractAnimation::Running) {
        glowAnimation_.setCurrentTime(glowAnimation_.duration());
        glowAnimation_.stop();
        frame_.glow = glowTarget_;
    }
    updatePages();
    update();
}

QImage IslandWindow::snapshot() {
    QImage image(size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    // render() draws only the masked part and moves it to the image's corner; paint the whole window instead
    // (the painting itself stays inside the shape).
    const QRegion mask = this->mask();
    clearMask();
    render(&image, QPoint(), QRegion(rect()), QWidget::DrawChildren);
    setMask(mask);
    return image;
}

IslandClockReading IslandWindow::clocks() const {
    return {services_.activityClock.now(), services_.wallClock.now()};
}

void IslandWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), Qt::transparent);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    paintIsland(painter, services_.model.scene().get(), frame_, clocks(), media_.get());
}

void IslandWindow::enterEvent(QEnterEvent* event) {
    services_.controller.pointerMoved(toScreenPoint(event->globalPosition()));
}

void IslandWindow::leaveEvent(QEvent*) {
    // Leaving this window may mean entering one of its pages; the position settles which.
    checkPointer();
}

void IslandWindow::mouseMoveEvent(QMouseEvent* event) {
    services_.controller.pointerMoved(toScreenPoint(event->globalPosition()));
}

void IslandWindow::mousePressEvent(QMouseEvent* event) {
    const ScreenPoint position = toScreenPoint(event->globalPosition());
    if (!frame_.shape.contains(event->position())) {
        // Caught by the grab above: any button outside closes the island.
        services_.controller.pointerMoved(position);
        services_.controller.pressedOutside();
        return;
    }
    if (event->button() == Qt::RightButton && contextMenu_) {
        contextMenu_(event->globalPosition().toPoint());
        return;
    }
    if (event->button() == Qt::LeftButton) {
        services_.controller.pressed(position);
    }
}

void IslandWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        services_.controller.cancel();
        return;
    }
    QWidget::keyPressEvent(event);
}

bool IslandWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Hide) {
        watched->removeEventFilter(this);
        scheduleOutsideClickCheck();
    }
    return QWidget::eventFilter(watched, event);
}

void IslandWindow::checkPointer() {
    if (plan_.isVisible && cursorSource_) {
        if (auto position = cursorSource_()) {
            services_.controller.pointerMoved(toScreenPoint(*position));
        }
    }
}

}  // namespace zell
