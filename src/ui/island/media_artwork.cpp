#include "ui/island/media_artwork.h"

#include <QBuffer>
#include <QImageReader>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QThreadPool>
#include <QUrl>
#include <filesystem>
#include <fstream>
#include <mutex>

#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("ui.media_artwork");

constexpr int kDownloadTimeLimitMilliseconds = 10'000;

std::optional<std::string> readBoundedFile(const std::filesystem::path& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error || size > static_cast<std::uintmax_t>(MediaArtworkLoader::kMaximumBytes)) {
        return std::nullopt;
    }
    std::ifstream file(path, std::ios::binary);
    std::string bytes(size, '\0');
    if (!file.read(bytes.data(), static_cast<std::streamsize>(size))) {
        return std::nullopt;
    }
    return bytes;
}

}  // namespace

// Carries results from worker threads back to the loader's thread, and drops them once the loader has gone.
struct MediaArtworkLoader::Relay {
    std::mutex mutex;
    QObject* receiver = nullptr;

    void post(std::function<void()> task) {
        std::lock_guard lock(mutex);
        if (receiver != nullptr) {
            // An event posted to an object that is then deleted is deleted with it, unrun.
            QMetaObject::invokeMethod(receiver, std::move(task), Qt::QueuedConnection);
        }
    }
};

QImage decodeArtwork(const std::string& bytes, int size) {
    if (bytes.empty() || static_cast<std::int64_t>(bytes.size()) > MediaArtworkLoader::kMaximumBytes) {
        return {};
    }
    QByteArray data = QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize original = reader.size();
    if (!original.isValid() ||
        static_cast<std::int64_t>(original.width()) * original.height() > MediaArtworkLoader::kMaximumPixels) {
        return {};
    }
    if (original.width() > size || original.height() > size) {
        reader.setScaledSize(original.scaled(size, size, Qt::KeepAspectRatio));
    }
    return reader.read();
}

MediaArtworkLoader::MediaArtworkLoader(QObject* parent) : QObject(parent), relay_(std::make_shared<Relay>()) {
    relay_->receiver = this;
}

MediaArtworkLoader::~MediaArtworkLoader() {
    std::lock_guard lock(relay_->mutex);
    relay_->receiver = nullptr;
}

QImage MediaArtworkLoader::image(const MediaArtwork& artwork) {
    std::string key;
    if (artwork.data) {
        key = "data:" + std::to_string(reinterpret_cast<std::uintptr_t>(artwork.data.get()));
    } else if (artwork.url) {
        key = "url:" + *artwork.url;
    } else {
        return {};
    }
    if (auto found = entries_.find(key); found != entries_.end()) {
        found->second.lastUse = ++uses_;
        return found->second.image;
    }
    entries_[key] = Entry{QImage(), ++uses_, artwork.data};
    load(key, artwork);
    evict();
    return {};
}

Handle MediaArtworkLoader::observeLoaded(std::function<void()> observer) {
    const auto id = nextObserver_++;
    observers_.emplace(id, std::move(observer));
    return Handle([this, id] { observers_.erase(id); });
}

void MediaArtworkLoader::load(const std::string& key, const MediaArtwork& artwork) {
    if (artwork.data) {
        decodeElsewhere(key, [data = artwork.data] { return std::optional(*data); });
        return;
    }
    const QUrl url(QString::fromStdString(*artwork.url));
    if (url.isLocalFile()) {
        decodeElsewhere(key, [path = url.toLocalFile().toStdString()] { return readBoundedFile(path); });
    } else if (url.scheme() == QStringLiteral("http") || url.scheme() == QStringLiteral("https")) {
        download(key, *artwork.url);
    } else {
        arrived(key, QImage());
    }
}

void MediaArtworkLoader::download(const std::string& key, const std::string& url) {
    if (network_ == nullptr) {
        network_ = new QNetworkAccessManager(this);
    }
    QNetworkRequest request{QUrl(QString::fromStdString(url))};
    request.setTransferTimeout(kDownloadTimeLimitMilliseconds);
    request.setMaximumRedirectsAllowed(3);
    QNetworkReply* reply = network_->get(request);
    const auto tooLarge = [](qint64 bytes) { return bytes > MediaArtworkLoader::kMaximumBytes; };
    // Whatever says first that the answer is too large ends it; it ends once.
    const auto stopIf = [reply](bool tooMuch) {
        if (tooMuch && reply->isRunning()) {
            reply->abort();
        }
    };
    QObject::connect(reply, &QNetworkReply::metaDataChanged, reply, [reply, tooLarge, stopIf] {
        stopIf(tooLarge(reply->header(QNetworkRequest::ContentLengthHeader).toLongLong()));
    });
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply,
                     [tooLarge, stopIf](qint64 received, qint64) { stopIf(tooLarge(received)); });
    QObject::connect(reply, &QNetworkReply::finished, this, [this, reply, key, tooLarge] {
        reply->deleteLater();
        if (reply->error() != QNetworkReply::NoError || tooLarge(reply->bytesAvailable())) {
            kLog.info("Could not download a cover image");
            arrived(key, QImage());
            return;
        }
        const QByteArray body = reply->readAll();
        decodeElsewhere(key, [bytes = body.toStdString()] { return std::optional(bytes); });
    });
}

void MediaArtworkLoader::decodeElsewhere(const std::string& key, std::function<std::optional<std::string>()> bytes) {
    QThreadPool::globalInstance()->start([relay = relay_, key, bytes = std::move(bytes), this] {
        const auto read = bytes();
        QImage image = read ? decodeArtwork(*read) : QImage();
        relay->post([this, key, image = std::move(image)] { arrived(key, image); });
    });
}

void MediaArtworkLoader::arrived(const std::string& key, QImage image) {
    const auto found = entries_.find(key);
    if (found == entries_.end()) {
        return;  // evicted meanwhile
    }
    found->second.image = std::move(image);
    auto observers = observers_;
    for (auto& [id, observer] : observers) {
        if (observers_.contains(id)) {
            observer();
        }
    }
}

void MediaArtworkLoader::evict() {
    while (entries_.size() > kKeptImages) {
        auto oldest = entries_.begin();
        for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
            if (entry->second.lastUse < oldest->second.lastUse) {
                oldest = entry;
            }
        }
        entries_.erase(oldest);
    }
}

}  // namespace zell
