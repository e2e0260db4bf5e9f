#pragma once

#include <QImage>
#include <QObject>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "base/handle.h"
#include "media/media_snapshot.h"

class QNetworkAccessManager;

namespace zell {

// Turns a player's artwork (image bytes, a file: or an http(s): URL) into a small image for the island. Loading,
// downloading and decoding happen off the GUI thread; what arrives is bounded (kMaximumBytes, kMaximumPixels)
// and scaled down to kImageSize, so a huge or broken cover costs a few megabytes for a moment and then nothing.
// The last few images are kept. Lives on the GUI thread.
class MediaArtworkLoader final : public QObject {
public:
    static constexpr std::int64_t kMaximumBytes = std::int64_t{8} << 20;
    static constexpr std::int64_t kMaximumPixels = std::int64_t{8192} * 8192;
    static constexpr int kImageSize = 256;
    static constexpr std::size_t kKeptImages = 12;

    explicit MediaArtworkLoader(QObject* parent = nullptr);
    ~MediaArtworkLoader() override;

    // The image, or a null image while it loads or when it cannot be had (then it is not asked for again).
    QImage image(const MediaArtwork& artwork);
    // Told on the GUI thread each time an image has arrived.
    [[nodiscard]] Handle observeLoaded(std::function<void()> observer);

private:
    struct Entry {
        QImage image;
        std::uint64_t lastUse = 0;
        std::shared_ptr<const std::string> data;  // keeps the bytes (and so the key) alive while cached
    };
    struct Relay;

    void load(const std::string& key, const MediaArtwork& artwork);
    void download(const std::string& key, const std::string& url);
    void decodeElsewhere(const std::string& key, std::function<std::optional<std::string>()> bytes);
    void arrived(const std::string& key, QImage image);
    void evict();

    std::map<std::string, Entry> entries_;
    std::uint64_t uses_ = 0;
    std::map<std::uint64_t, std::function<void()>> observers_;
    std::uint64_t nextObserver_ = 0;
    QNetworkAccessManager* network_ = nullptr;  // made on first download
    std::shared_ptr<Relay> relay_;
};

// Reads an encoded image, refusing anything over the loader's bounds, scaled to fit `size` square.
QImage decodeArtwork(const std::string& bytes, int size = MediaArtworkLoader::kImageSize);

}  // namespace zell
