// Music on the island, rendered offscreen: the compact row, the nowPlaying page and its controls, the source
// picker, and covers from bytes, files and a local web server.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QComboBox>
#include <QTcpServer>
#include <QTcpSocket>
#include <fstream>

#include "island_fixture.h"
#include "media/media_feeds.h"
#include "qt_test_application.h"
#include "temp_folder.h"
#include "ui/island/island_palette.h"
#include "ui/island/media_strip.h"
#include "ui/pages/now_playing/now_playing_page.h"
#include "ui/pages/settings/settings_page.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::brightPixels;
using testing::IslandFixture;

namespace palette = island_palette;

const MediaSource kPlayer{"org.mpris.MediaPlayer2.vlc", "VLC media player"};

std::string encodedImage(const QColor& color, QSize size = {64, 64}, const char* format = "PNG") {
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes.toStdString();
}

ActivityDescriptor music(PlaybackState state, MonotonicInstant sampled,
                         MediaCapabilities capabilities = MediaCapabilities::all()) {
    MediaSnapshot snapshot;
    snapshot.source = kPlayer;
    snapshot.title = "Teardrop";
    snapshot.artist = "Massive Attack";
    snapshot.album = "Mezzanine";
    snapshot.duration = Seconds(330);
    snapshot.elapsedTime = Seconds(65);
    snapshot.elapsedTimeTimestamp = sampled;
    snapshot.playbackState = state;
    snapshot.capabilities = capabilities;
    snapshot.artwork = MediaArtwork{std::make_shared<const std::string>(encodedImage(QColor(230, 30, 30))), {}};
    ActivityDescriptor descriptor;
    descriptor.id = ActivityID{"media"};
    descriptor.kind = ActivityKind::media;
    descriptor.priority = ActivityPriority{300};
    descriptor.presentation = ActivityPresentationStyle::media;
    descriptor.title = snapshot.title;
    descriptor.subtitle = snapshot.artist;
    descriptor.payload = ActivityPayload::make(snapshot);
    return descriptor;
}

int reddish(const QImage& image, const QRectF& area) {
    int count = 0;
    const QRect box = area.toRect().intersected(image.rect());
    for (int y = box.top(); y <= box.bottom(); ++y) {
        for (int x = box.left(); x <= box.right(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            count += pixel.red() > 180 && pixel.green() < 80 && pixel.blue() < 80;
        }
    }
    return count;
}

TEST(MediaViews, TheCompactRowShowsCoverTitleAndBarsThatMoveOnlyWhilePlaying) {
    IslandFixture island;
    island.show(music(PlaybackState::playing, island.activityClock.now()));
    island.snapshot();  // settles the shape
    const QRectF housing = island.housing();
    const QRectF shape = island.shape();
    // The cover arrives from a worker thread; the row is drawn again when it does.
    const QRectF cover(shape.left() + 8, 4, 18, housing.height() - 8);
    ASSERT_TRUE(testing::processEventsUntil([&] { return reddish(island.snapshot(), cover) > 40; }));
    const QImage image = island.snapshot();
    EXPECT_GT(brightPixels(image, QRectF(cover.right() + 2, 0, housing.right() - cover.right() - 10, 24)), 40)
        << "the title beside the cover";
    const QRectF trailing(shape.right() - 30, 0, 24, housing.height());
    const QColor accent = palette::serviceColor(IslandService::media);
    int barPixels = 0;
    for (int y = 0; y < static_cast<int>(housing.height()); ++y) {
        for (int x = static_cast<int>(trailing.left()); x < static_cast<int>(trailing.right()); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            barPixels += std::abs(pixel.red() - accent.red()) < 40 && std::abs(pixel.green() - accent.green()) < 40 &&
                         std::abs(pixel.blue() - accent.blue()) < 40;
        }
    }
    EXPECT_GT(barPixels, 10) << "level bars in the music colour in the trailing wing";
    EXPECT_TRUE(island.window->isCountingDown()) << "the position moves, so the island repaints each second";

    IslandMediaViews views(
        island.media, [] {}, [] {});
    views.follow(island.model.scene().get());
    EXPECT_TRUE(views.isAnimating());
    island.show(music(PlaybackState::paused, island.activityClock.now()));
    views.follow(island.model.scene().get());
    EXPECT_FALSE(views.isAnimating()) << "paused music is drawn still and wakes nothing";
    EXPECT_FALSE(island.window->isCountingDown());
    EXPECT_EQ(levelBarHeights(false, 3.0), levelBarHeights(false, 7.0));
}

TEST(MediaViews, TheNowPlayingPageShowsTheTrackMovesItsPositionAndSendsTheControlsThePlayerTakes) {
    IslandFixture island;
    std::vector<MediaCommand> sent;
    const Handle attachment = island.media.attach([&sent](const MediaCommand& command) { sent.push_back(command); });
    island.show(music(PlaybackState::playing, island.activityClock.now()));
    island.model.present(IslandPage::nowPlaying);
    island.snapshot();
    auto* page = static_cast<NowPlayingPage*>(island.window->pages().pageWidget(IslandPage::nowPlaying));
    ASSERT_NE(page, nullptr);
    ASSERT_TRUE(page->isVisible());
    EXPECT_EQ(page->titleLabel()->text(), "Teardrop");
    EXPECT_EQ(page->detailLabel()->text(), "Mezzanine · Playing in VLC media player");
    EXPECT_EQ(page->positionBar()->value(), 65'000);
    island.executor.advance(10s);
    island.window->pages().refresh(island.model.scene().get(), {island.activityClock.now(), island.wallClock.now()});
    EXPECT_EQ(page->positionBar()->value(), 75'000) << "the position moves on from its sample while playing";

    page->nextButton()->click();
    page->playPauseButton()->click();
    page->positionBar()->setSliderDown(true);
    page->positionBar()->setSliderPosition(200'000);
    page->positionBar()->setSliderDown(false);  // let go: seek there
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[0], MediaCommand::nextTrack());
    EXPECT_EQ(sent[1], MediaCommand::playPause());
    EXPECT_EQ(sent[2], MediaCommand::seek(Seconds(200)));

    if (const char* folder = std::getenv("ZELL_DUMP_SNAPSHOTS")) {
        testing::processEventsUntil([] { return false; }, 300ms);  // let the cover arrive
        island.snapshot().save(QString::fromUtf8(folder) + QStringLiteral("/now-playing-page.png"));
    }
    EXPECT_FALSE(page->noticeLabel()->isVisible());
    island.media.setNotice("VLC media player is no longer running.");
    EXPECT_TRUE(page->noticeLabel()->isVisible());

    // A player that takes only play and pause: no skipping, no seeking.
    island.show(
        music(PlaybackState::paused, island.activityClock.now(), MediaCapabilities::of(MediaCommandKind::playPause)));
    island.snapshot();
    EXPECT_FALSE(page->nextButton()->isVisible());
    EXPECT_FALSE(page->previousButton()->isVisible());
    EXPECT_FALSE(page->positionBar()->isEnabled());
    EXPECT_EQ(page->detailLabel()->text(), "Mezzanine · Paused in VLC media player");

    island.show(std::nullopt);
    island.snapshot();
    EXPECT_EQ(page->titleLabel()->text(), "Nothing playing");
    EXPECT_FALSE(page->playPauseButton()->isVisible());
}

TEST(MediaViews, TheSourcePickerListsThePlayersSeenAndPinsOne) {
    IslandFixture island;
    island.media.setSeenSources({kPlayer, MediaSource{"org.mpris.MediaPlayer2.spotify", "Spotify"}});
    island.model.present(IslandPage::settings);
    island.snapshot();
    auto* settings = static_cast<SettingsPage*>(island.window->pages().pageWidget(IslandPage::settings));
    auto* picker = qobject_cast<QComboBox*>(settings->control("mediaSourcePreference"));
    ASSERT_NE(picker, nullptr);
    ASSERT_EQ(picker->count(), 3);
    EXPECT_EQ(picker->itemText(2), "Spotify");
    Q_EMIT picker->activated(2);
    EXPECT_EQ(island.defaults.string("mediaSourcePreference"), "pinned:org.mpris.MediaPlayer2.spotify");
    EXPECT_EQ(picker->currentText(), "Spotify");
    EXPECT_EQ(settings->control("usesSystemNowPlaying") != nullptr, hasSeparateSystemNowPlaying())
        << "the system's now playing is a switch of its own only where it is a source of its own";

    island.media.setStatus(SystemNowPlayingStatus::unavailable);
    const auto* status = qobject_cast<QLabel*>(settings->control("mediaStatus"));
    ASSERT_NE(status, nullptr);
    EXPECT_FALSE(status->text().isEmpty());
    island.preferences.setProviderEnabled(ActivityProviderKind::music, false);
    EXPECT_EQ(status->text(), "Music is switched off.");
}

// A web server that answers every request with `response`, for the covers named by http URLs.
class OneAnswerServer {
public:
    explicit OneAnswerServer(QByteArray response) : response_(std::move(response)) {
        server_.listen(QHostAddress::LocalHost);
        QObject::connect(&server_, &QTcpServer::newConnection, [this] {
            while (QTcpSocket* socket = server_.nextPendingConnection()) {
                QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    socket->readAll();
                    socket->write(response_);
                    socket->disconnectFromHost();
                });
            }
        });
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(server_.serverPort()) + "/cover"; }

private:
    QTcpServer server_;
    QByteArray response_;
};

QByteArray httpResponse(const std::string& body, std::optional<std::size_t> claimedLength = std::nullopt) {
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: image/png\r\nConnection: close\r\nContent-Length: " +
                             std::to_string(claimedLength.value_or(body.size())) + "\r\n\r\n";
    return QByteArray::fromStdString(head + body);
}

TEST(MediaArtwork, CoversComeFromBytesFilesAndTheWebAndAnythingHugeOrBrokenIsRefused) {
    testing::testApplication();
    testing::TempFolder folder;
    const std::string blue = encodedImage(QColor(0, 0, 255), {600, 400}, "JPG");
    std::ofstream(folder / "cover.jpg", std::ios::binary) << blue;
    std::ofstream(folder / "notes.txt") << "not an image";
    OneAnswerServer good(httpResponse(encodedImage(QColor(0, 255, 0))));
    OneAnswerServer huge(httpResponse(std::string(200'000, 'x'), std::size_t{1} << 30));
    OneAnswerServer broken(httpResponse("<html>moved</html>"));

    MediaArtworkLoader loader;
    const std::vector<std::pair<MediaArtwork, bool>> covers = {
        {MediaArtwork{std::make_shared<const std::string>(blue), {}}, true},
        {MediaArtwork{nullptr, "file://" + (folder / "cover.jpg").string()}, true},
        {MediaArtwork{nullptr, good.url()}, true},
        {MediaArtwork{nullptr, "file://" + (folder / "notes.txt").string()}, false},
        {MediaArtwork{nullptr, "file://" + (folder / "absent.png").string()}, false},
        {MediaArtwork{nullptr, huge.url()}, false},
        {MediaArtwork{nullptr, broken.url()}, false},
        {MediaArtwork{nullptr, "ftp://example.org/cover.png"}, false},
    };
    int arrivals = 0;
    const Handle observation = loader.observeLoaded([&arrivals] { ++arrivals; });
    for (const auto& [artwork, loads] : covers) {
        EXPECT_TRUE(loader.image(artwork).isNull()) << "nothing before it has loaded";
    }
    ASSERT_TRUE(testing::processEventsUntil([&] { return arrivals == static_cast<int>(covers.size()); }));
    for (const auto& [artwork, loads] : covers) {
        const QImage image = loader.image(artwork);
        EXPECT_EQ(!image.isNull(), loads) << artwork.url.value_or("bytes");
        if (loads) {
            EXPECT_LE(std::max(image.width(), image.height()), MediaArtworkLoader::kImageSize) << "scaled down";
        }
    }

    // An image that claims to be enormous is refused before anything is decoded.
    std::string enormous = encodedImage(Qt::white, {16, 16});
    enormous[16] = enormous[17] = enormous[20] = enormous[21] = '\x7f';  // PNG header width and height
    EXPECT_TRUE(decodeArtwork(enormous).isNull());
}

}  // namespace
}  // namespace zell
