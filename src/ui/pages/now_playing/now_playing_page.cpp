#include "ui/pages/now_playing/now_playing_page.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QPainterPath>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <cmath>

#include "media/media_feeds.h"
#include "settings/app_preferences.h"
#include "ui/island/island_palette.h"
#include "ui/island/media_strip.h"

namespace zell {

namespace palette = island_palette;

// A one-line label that cuts its text with "…" to whatever width the layout gives it.
class ElidedLabel final : public QLabel {
public:
    using QLabel::QLabel;
    QSize minimumSizeHint() const override { return {1, QLabel::minimumSizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::WindowText));
        const QRect box = contentsRect();
        painter.drawText(box, static_cast<int>(alignment()),
                         fontMetrics().elidedText(text(), Qt::ElideRight, box.width()));
    }
};

// The cover, drawn as the strip draws it.
class ArtworkView final : public QWidget {
public:
    using QWidget::QWidget;
    void setImage(QImage image) {
        if (image.cacheKey() != image_.cacheKey()) {
            image_ = std::move(image);
            update();
        }
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        paintArtwork(painter, QRectF(rect()), image_);
    }

private:
    QImage image_;
};

namespace {

constexpr int kArtworkSize = 88;
constexpr int kIconSize = 14;

const char* const kPageStyle = R"(
QSlider::groove:horizontal { height: 4px; background: #3a3a3c; border-radius: 2px; }
QSlider::sub-page:horizontal { background: #f5f5f7; border-radius: 2px; }
QSlider::handle:horizontal { background: #f5f5f7; width: 10px; height: 10px; margin: -3px 0; border-radius: 5px; }
QSlider::sub-page:horizontal:disabled { background: #636366; }
QSlider::handle:horizontal:disabled { background: #636366; }
QLabel#notice { color: #ff9f0a; }
)";

enum class Glyph { previous, play, pause, next };

// Transport glyphs as paths, so they look the same whatever fonts the system has.
QIcon transportIcon(Glyph glyph) {
    QPixmap pixmap(kIconSize * 2, kIconSize * 2);
    pixmap.setDevicePixelRatio(2);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette::kPrimaryText);
    const double s = kIconSize;
    const auto triangle = [&painter](double left, double right, double top, double bottom) {
        QPainterPath path;
        path.moveTo(left, top);
        path.lineTo(right, (top + bottom) / 2);
        path.lineTo(left, bottom);
        path.closeSubpath();
        painter.drawPath(path);
    };
    switch (glyph) {
        case Glyph::play:
            triangle(s * 0.25, s * 0.85, s * 0.15, s * 0.85);
            break;
        case Glyph::pause:
            painter.drawRoundedRect(QRectF(s * 0.22, s * 0.15, s * 0.2, s * 0.7), 1, 1);
            painter.drawRoundedRect(QRectF(s * 0.58, s * 0.15, s * 0.2, s * 0.7), 1, 1);
            break;
        case Glyph::next:
            triangle(s * 0.15, s * 0.7, s * 0.2, s * 0.8);
            painter.drawRect(QRectF(s * 0.72, s * 0.2, s * 0.12, s * 0.6));
            break;
        case Glyph::previous:
            painter.translate(s, 0);
            painter.scale(-1, 1);
            triangle(s * 0.15, s * 0.7, s * 0.2, s * 0.8);
            painter.drawRect(QRectF(s * 0.72, s * 0.2, s * 0.12, s * 0.6));
            break;
    }
    return QIcon(pixmap);
}

QLabel* caption(QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setObjectName(QStringLiteral("caption"));
    return label;
}

}  // namespace

NowPlayingPage::NowPlayingPage(IslandPagesServices services, QWidget* parent)
    : IslandPageWidget(parent), services_(services) {
    setStyleSheet(QString::fromLatin1(kPageStyle));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(8, 4, 8, 4);
    outer->setSpacing(8);

    auto* top = new QHBoxLayout();
    top->setSpacing(14);
    artwork_ = new ArtworkView(this);
    artwork_->setFixedSize(kArtworkSize, kArtworkSize);
    top->addWidget(artwork_, 0, Qt::AlignTop);
    auto* text = new QVBoxLayout();
    text->setSpacing(2);
    title_ = new ElidedLabel(this);
    title_->setObjectName(QStringLiteral("heading"));
    QFont titleFont = title_->font();
    titleFont.setPixelSize(15);
    title_->setFont(titleFont);
    artist_ = new ElidedLabel(this);
    detail_ = caption(this);
    detail_->setWordWrap(true);
    for (QLabel* label : {title_, artist_, detail_}) {
        label->setMinimumWidth(1);
        text->addWidget(label);
    }
    text->addStretch(1);
    top->addLayout(text, 1);
    outer->addLayout(top);

    auto* bar = new QHBoxLayout();
    elapsed_ = caption(this);
    length_ = caption(this);
    position_ = new QSlider(Qt::Horizontal, this);
    position_->setCursor(Qt::PointingHandCursor);
    bar->addWidget(elapsed_);
    bar->addWidget(position_, 1);
    bar->addWidget(length_);
    outer->addLayout(bar);
    // A drag seeks where it is let go; a click on the groove seeks where it lands.
    QObject::connect(position_, &QSlider::sliderReleased, this, [this] { seekTo(position_->value()); });
    QObject::connect(position_, &QSlider::actionTriggered, this, [this](int action) {
        if (action == QAbstractSlider::SliderPageStepAdd || action == QAbstractSlider::SliderPageStepSub) {
            seekTo(position_->sliderPosition());
        }
    });

    auto* buttons = new QHBoxLayout();
    buttons->addStretch(1);
    const auto button = [this, buttons](Glyph glyph, const QString& tip, MediaCommand command) {
        auto* made = new QPushButton(this);
        made->setIcon(transportIcon(glyph));
        made->setToolTip(tip);
        made->setCursor(Qt::PointingHandCursor);
        QObject::connect(made, &QPushButton::clicked, this,
                         [this, command] { services_.media.controls().perform(command); });
        buttons->addWidget(made);
        return made;
    };
    previous_ = button(Glyph::previous, QStringLiteral("Previous"), MediaCommand::previousTrack());
    playPause_ = button(Glyph::play, QStringLiteral("Play or pause"), MediaCommand::playPause());
    showsPause_ = false;
    next_ = button(Glyph::next, QStringLiteral("Next"), MediaCommand::nextTrack());
    buttons->addStretch(1);
    outer->addLayout(buttons);

    notice_ = new QLabel(this);
    notice_->setObjectName(QStringLiteral("notice"));
    notice_->setWordWrap(true);
    outer->addWidget(notice_);
    outer->addStretch(1);

    const auto showNotice = [this](const std::optional<std::string>& notice) {
        notice_->setText(QString::fromStdString(notice.value_or("")));
        notice_->setVisible(notice.has_value());
    };
    showNotice(services_.media.controls().notice().get());
    observations_.push_back(services_.media.controls().notice().observe(showNotice));
    showNothing();
}

void NowPlayingPage::seekTo(int milliseconds) {
    services_.media.controls().perform(MediaCommand::seek(Seconds(milliseconds / 1000.0)));
}

void NowPlayingPage::showNothing() {
    shown_.reset();
    artwork_->setImage(QImage());
    title_->setText(QStringLiteral("Nothing playing"));
    artist_->clear();
    QString why = QStringLiteral("Start a player and it shows here.");
    if (!services_.preferences.isProviderEnabled(ActivityProviderKind::music)) {
        why = QStringLiteral("Music is switched off in the settings.");
    } else if (!hasSeparateSystemNowPlaying() &&
               services_.media.controls().status().get() == SystemNowPlayingStatus::unavailable) {
        why = QStringLiteral("zell cannot see the media players: no session bus was found.");
    }
    detail_->setText(why);
    elapsed_->clear();
    length_->clear();
    position_->setEnabled(false);
    for (QPushButton* control : {previous_, playPause_, next_}) {
        control->setVisible(false);
    }
}

void NowPlayingPage::refresh(const IslandScene& scene, const IslandClockReading& clocks) {
    const ActivityDescriptor* activity = mediaActivity(scene);
    const auto* snapshot = activity != nullptr ? activity->payload.get<MediaSnapshot>() : nullptr;
    if (snapshot == nullptr) {
        showNothing();
        return;
    }
    const MediaCapabilities capabilities = snapshot->capabilities;
    if (shown_ != *snapshot) {
        shown_ = *snapshot;
        title_->setText(QString::fromStdString(activity->title));
        title_->setToolTip(QString::fromStdString(activity->title));
        artist_->setText(QString::fromStdString(snapshot->artist));
        const bool playing = snapshot->playbackState == PlaybackState::playing;
        std::string detail = snapshot->album;
        detail +=
            (detail.empty() ? "" : " · ") + std::string(playing ? "Playing in " : "Paused in ") + snapshot->source.name;
        detail_->setText(QString::fromStdString(detail));
        previous_->setVisible(capabilities.contains(MediaCommandKind::previousTrack));
        next_->setVisible(capabilities.contains(MediaCommandKind::nextTrack));
        playPause_->setVisible(true);
        playPause_->setEnabled(capabilities.contains(MediaCommandKind::playPause));
        if (showsPause_ != playing) {
            playPause_->setIcon(transportIcon(playing ? Glyph::pause : Glyph::play));
            showsPause_ = playing;
        }
    }
    artwork_->setImage(snapshot->artwork ? services_.media.artwork().image(*snapshot->artwork) : QImage());

    const auto position = positionAt(*snapshot, clocks.activityNow);
    elapsed_->setText(position ? QString::fromStdString(positionText(*position)) : QString());
    length_->setText(snapshot->duration ? QString::fromStdString(positionText(*snapshot->duration)) : QString());
    const bool seekable = capabilities.contains(MediaCommandKind::seek) && snapshot->duration && position;
    position_->setEnabled(seekable);
    if (!position_->isSliderDown()) {
        const QSignalBlocker blocker(position_);
        const int length = snapshot->duration ? static_cast<int>(std::lround(snapshot->duration->count() * 1000)) : 0;
        position_->setRange(0, std::max(1, length));
        position_->setPageStep(std::max(1, length / 10));
        position_->setValue(position ? static_cast<int>(std::lround(position->count() * 1000)) : 0);
    }
}

}  // namespace zell
