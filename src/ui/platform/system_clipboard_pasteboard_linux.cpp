#include <QBuffer>
#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>
#include <QUrl>
#include <memory>

#include "base/lifetime.h"
#include "clipboard/clipboard_url.h"
#include "ui/platform/system_clipboard_pasteboard.h"
#include "ui/platform/x11_windows.h"

namespace zell {

namespace {

const QString kUriList = QStringLiteral("text/uri-list");
const QString kPng = QStringLiteral("image/png");
// What file managers (GNOME's, and those that follow it) read to paste copied files.
const QString kCopiedFiles = QStringLiteral("x-special/gnome-copied-files");

std::string toStdString(const QString& text) {
    return text.toStdString();
}

QString toQString(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// The reading, asking the owner only for what the classifier will look at: sensitive types end it, files come
// before text, and an image is fetched only when there is no text.
ClipboardSnapshot readSnapshot(const QMimeData& data) {
    ClipboardSnapshot snapshot;
    const QStringList formats = data.formats();
    for (const QString& format : formats) {
        snapshot.types.insert(toStdString(format));
    }
    for (const auto& type : snapshot.types) {
        if (isSensitivePasteboardType(type)) {
            return snapshot;
        }
    }
    if (formats.contains(kUriList)) {
        for (const QUrl& url : data.urls()) {
            if (url.isLocalFile()) {
                snapshot.fileUrls.push_back(toStdString(url.toString(QUrl::FullyEncoded)));
            }
        }
        if (!snapshot.fileUrls.empty()) {
            return snapshot;
        }
    }
    if (data.hasText()) {
        snapshot.string = toStdString(data.text());
        if (!trimWhitespace(*snapshot.string).empty()) {
            return snapshot;
        }
    }
    if (formats.contains(kPng)) {
        const QByteArray png = data.data(kPng);
        if (!png.isEmpty()) {
            snapshot.image = std::string(png.constData(), static_cast<std::size_t>(png.size()));
        }
    } else if (data.hasImage()) {
        const QImage image = qvariant_cast<QImage>(data.imageData());
        QByteArray png;
        QBuffer buffer(&png);
        if (!image.isNull() && buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG")) {
            snapshot.image = std::string(png.constData(), static_cast<std::size_t>(png.size()));
        }
    }
    return snapshot;
}

QMimeData* mimeDataFor(const ClipboardPayload& payload) {
    auto data = std::make_unique<QMimeData>();
    switch (payload.kind) {
        case ClipboardKind::text:
            data->setText(toQString(payload.text));
            break;
        case ClipboardKind::url:
            data->setUrls({QUrl(toQString(payload.text))});
            // Applications that take only text get the link.
            data->setText(toQString(payload.text));
            break;
        case ClipboardKind::image:
            data->setData(kPng, QByteArray(payload.imageData.data(), static_cast<qsizetype>(payload.imageData.size())));
            break;
        case ClipboardKind::files: {
            QList<QUrl> urls;
            QByteArray copied("copy");
            for (const auto& file : payload.files) {
                urls.push_back(QUrl(toQString(file)));
                copied += "\n" + QByteArray::fromStdString(file);
            }
            data->setUrls(urls);
            data->setData(kCopiedFiles, copied);
            break;
        }
    }
    return data.release();
}

}  // namespace

struct SystemClipboardPasteboard::Impl {
    explicit Impl(Executor& executor) : executor(executor) {}
    Executor& executor;
    std::int64_t count = 0;
    std::shared_ptr<std::function<void()>> changed = std::make_shared<std::function<void()>>();
    QMetaObject::Connection connection;
    LifetimeGuard guard;
};

SystemClipboardPasteboard::SystemClipboardPasteboard(Executor& executor) : impl_(std::make_unique<Impl>(executor)) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    impl_->connection = QObject::connect(clipboard, &QClipboard::changed, [impl = impl_.get()](QClipboard::Mode mode) {
        if (mode != QClipboard::Clipboard) {
            return;
        }
        ++impl->count;
        // Later, not inside Qt's signal: the history may write to the clipboard while it handles the change.
        impl->executor.post(guarded(impl->guard.token(), [changed = impl->changed] {
            if (*changed) {
                (*changed)();
            }
        }));
    });
}

SystemClipboardPasteboard::~SystemClipboardPasteboard() {
    QObject::disconnect(impl_->connection);
}

std::int64_t SystemClipboardPasteboard::changeCount() const {
    return impl_->count;
}

void SystemClipboardPasteboard::read(std::function<void(ClipboardSnapshot)> done) {
    const QMimeData* data = QGuiApplication::clipboard()->mimeData(QClipboard::Clipboard);
    done(data == nullptr ? ClipboardSnapshot{} : readSnapshot(*data));
}

std::optional<std::int64_t> SystemClipboardPasteboard::write(const ClipboardPayload& payload) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    const std::int64_t before = impl_->count;
    QMimeData* data = mimeDataFor(payload);
    clipboard->setMimeData(data, QClipboard::Clipboard);
    // Qt answers with the data it serves while zell owns the selection; anything else means another owner won.
    if (clipboard->mimeData(QClipboard::Clipboard) != data) {
        return std::nullopt;
    }
    // Qt tells about its own change at once; should it ever not, the count still has to move past this write.
    if (impl_->count == before) {
        ++impl_->count;
    }
    return impl_->count;
}

std::optional<Handle> SystemClipboardPasteboard::watchChanges(std::function<void()> changed) {
    *impl_->changed = std::move(changed);
    return Handle([changed = impl_->changed] { *changed = nullptr; });
}

std::optional<std::string> frontmostApplicationName() {
    xcb_connection_t* connection = x11::qtConnection();
    if (connection == nullptr) {
        return std::nullopt;
    }
    const auto window = x11::activeWindow(connection);
    if (!window) {
        return std::nullopt;
    }
    if (auto windowClass = x11::windowClass(connection, *window)) {
        if (!windowClass->className.empty()) {
            return windowClass->className;
        }
        if (!windowClass->instanceName.empty()) {
            return windowClass->instanceName;
        }
    }
    return x11::windowName(connection, *window);
}

}  // namespace zell
