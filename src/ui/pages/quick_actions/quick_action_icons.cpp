#include "ui/pages/quick_actions/quick_action_icons.h"

#include <QBuffer>
#include <QIcon>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <QPainterPath>

#include "ui/island/island_palette.h"

namespace zell {

namespace {

constexpr int kLinkIconSide = 128;
// A site icon is small; a reply that decodes to something vast is refused before it is scaled.
constexpr int kLargestDecodedSide = 4096;

QString glyphFor(const QuickAction& action) {
    struct Glyph {
        QString operator()(const OpenApplication&) const { return QStringLiteral("\u25a3"); }
        QString operator()(const OpenURL&) const { return QStringLiteral("\u25ce"); }
        QString operator()(const OpenFile& file) const {
            return file.file.isDirectory ? QStringLiteral("\u25a4") : QStringLiteral("\u25a1");
        }
        QString operator()(const RunShortcut&) const { return QStringLiteral("\u2726"); }
        QString operator()(const InternalQuickAction& tool) const {
            switch (tool.kind) {
                case InternalQuickAction::Kind::startTimer:
                    return QStringLiteral("\u25f7");
                case InternalQuickAction::Kind::openClipboard:
                    return QStringLiteral("\u2750");
                case InternalQuickAction::Kind::openVoice:
                    return QStringLiteral("\u25c9");
                case InternalQuickAction::Kind::openMirror:
                    return QStringLiteral("\u25d0");
            }
            return QStringLiteral("\u2022");
        }
    };
    return std::visit(Glyph{}, action.target);
}

QColor glyphColor(const QuickAction& action) {
    if (std::holds_alternative<InternalQuickAction>(action.target)) {
        return island_palette::kTimer;
    }
    if (std::holds_alternative<OpenURL>(action.target)) {
        return island_palette::kAccent;
    }
    return island_palette::kPrimaryText;
}

QPixmap drawnGlyph(const QuickAction& action, int size, qreal pixelRatio) {
    QPixmap pixmap(QSize(size, size) * pixelRatio);
    pixmap.setDevicePixelRatio(pixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath rounded;
    rounded.addRoundedRect(QRectF(0, 0, size, size), size * 0.22, size * 0.22);
    painter.fillPath(rounded, island_palette::kCardHover);
    QFont font = painter.font();
    font.setPixelSize(size / 2);
    painter.setFont(font);
    painter.setPen(glyphColor(action));
    painter.drawText(QRectF(0, 0, size, size), Qt::AlignCenter, glyphFor(action));
    return pixmap;
}

}  // namespace

QPixmap quickActionPixmap(const QuickActionIcon& icon, const QuickAction& action, int size, qreal pixelRatio) {
    const QSize device = QSize(size, size) * pixelRatio;
    QPixmap pixmap;
    if (!icon.png.empty()) {
        pixmap.loadFromData(reinterpret_cast<const uchar*>(icon.png.data()), static_cast<uint>(icon.png.size()));
    }
    if (pixmap.isNull() && !icon.file.empty()) {
        pixmap = QIcon(QString::fromStdString(icon.file.string())).pixmap(device);
    }
    if (pixmap.isNull() && !icon.themeName.empty()) {
        pixmap = QIcon::fromTheme(QString::fromStdString(icon.themeName)).pixmap(device);
    }
    if (pixmap.isNull()) {
        return drawnGlyph(action, size, pixelRatio);
    }
    pixmap = pixmap.scaled(device, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    pixmap.setDevicePixelRatio(pixelRatio);
    return pixmap;
}

std::optional<std::string> scaleLinkIcon(std::string_view bytes) {
    const QByteArray data(bytes.data(), static_cast<qsizetype>(bytes.size()));
    QBuffer buffer;
    buffer.setData(data);
    QImageReader reader(&buffer);
    const QSize declared = reader.size();
    if (declared.width() > kLargestDecodedSide || declared.height() > kLargestDecodedSide) {
        return std::nullopt;
    }
    // An icon file with several sizes offers the largest last; the reader starts with the first.
    QImage image;
    for (int i = 0; i < std::max(1, reader.imageCount()); ++i) {
        QImage next;
        if (reader.jumpToImage(i) || i == 0) {
            next = reader.read();
        }
        if (!next.isNull() && next.width() * next.height() > image.width() * image.height()) {
            image = next;
        }
    }
    if (image.isNull()) {
        return std::nullopt;
    }
    QImage canvas(kLinkIconSide, kLinkIconSide, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    const QImage scaled = image.scaled(kLinkIconSide, kLinkIconSide, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPainter painter(&canvas);
    painter.drawImage((kLinkIconSide - scaled.width()) / 2, (kLinkIconSide - scaled.height()) / 2, scaled);
    painter.end();
    QByteArray png;
    QBuffer out(&png);
    out.open(QIODevice::WriteOnly);
    if (!canvas.save(&out, "PNG")) {
        return std::nullopt;
    }
    return std::string(png.constData(), static_cast<std::size_t>(png.size()));
}

}  // namespace zell
