#include "ui/icons/palette_icon.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

/// The icons are in a static library, from where they have to be asked for. The macro wants no namespace around it.
static void RegisterIcons() {
    Q_INIT_RESOURCE(icons);
}

namespace postkite::ui {

namespace {

constexpr auto kBlack = "#000000";

/// The colour that stands for black, at this moment.
QColor TextColour(QIcon::Mode mode) {
    const QPalette palette = QGuiApplication::palette();
    if (mode == QIcon::Disabled) return palette.color(QPalette::Disabled, QPalette::Text);
    return palette.color(QPalette::Active,
                         mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::Text);
}

class PaletteIconEngine final : public QIconEngine {
  public:
    PaletteIconEngine(QString name, QByteArray drawing)
        : name_(std::move(name)), drawing_(std::move(drawing)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        const qreal ratio = painter->device()->devicePixelRatioF();
        QPixmap pixmap = scaledPixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state, ratio);
        pixmap.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect, pixmap);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1.0);
    }

    /// `size` is in the device's pixels.
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal) override {
        if (size.isEmpty()) return {};
        const QColor colour = TextColour(mode);
        const QString key = QStringLiteral("postkite/%1/%2/%3x%4")
                                .arg(name_, colour.name(QColor::HexArgb))
                                .arg(size.width())
                                .arg(size.height());
        QPixmap pixmap;
        if (!QPixmapCache::find(key, &pixmap)) {
            pixmap = Draw(size, colour);
            QPixmapCache::insert(key, pixmap);
        }
        return pixmap;
    }

    QIconEngine* clone() const override { return new PaletteIconEngine(*this); }
    QString iconName() override { return name_; }

  private:
    [[nodiscard]] QPixmap Draw(const QSize& size, const QColor& colour) const {
        QByteArray drawing = drawing_;
        drawing.replace(kBlack, colour.name(QColor::HexRgb).toLatin1());
        QSvgRenderer renderer(drawing);
        renderer.setAspectRatioMode(Qt::KeepAspectRatio);
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setOpacity(colour.alphaF());
        renderer.render(&painter);
        return pixmap;
    }

    QString name_;
    QByteArray drawing_;
};

}  // namespace

QIcon PaletteIcon(const QString& name) {
    static const bool registered = (RegisterIcons(), true);
    static_cast<void>(registered);
    QFile file(QStringLiteral(":/icons/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QIcon(new PaletteIconEngine(name, file.readAll()));
}

}  // namespace postkite::ui
