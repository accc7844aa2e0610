// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "gui_icons.h"

#include "app_theme.h"
#include "fatal_box.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QResource>

#include <cmath>
#include <cstdlib>

NakGuiIcons* g_guiIcons = nullptr;

static void initFontResource()
{
    Q_INIT_RESOURCE(nakwire_fonts);
}

namespace {

constexpr int defaultIconSize = 16; // device-independent pixels

QColor colorForMode(QIcon::Mode mode)
{
    auto const& theme = NakAppTheme::getGlobalThemeColors();
    switch (mode) {
    case QIcon::Disabled:
        return theme.disabledIcon;
    case QIcon::Selected:
        return theme.highlightedText;
    case QIcon::Normal:
    case QIcon::Active:
        break;
    }
    return theme.icon;
}

class GlyphIconEngine : public QIconEngine {
public:
    explicit GlyphIconEngine(QChar code)
        : m_code(code)
    {
    }

    void paint(QPainter* painter, QRect const& rect, QIcon::Mode mode, QIcon::State) override
    {
        qreal const density = painter->device()->devicePixelRatioF();
        QPixmap const glyph = pixmap((QSizeF(rect.size()) * density).toSize(), mode, QIcon::Off);
        painter->drawPixmap(rect, glyph);
    }

    QPixmap pixmap(QSize const& size, QIcon::Mode mode, QIcon::State) override
    {
        return g_guiIcons ? g_guiIcons->coloredGlyph(m_code, colorForMode(mode), size) : QPixmap();
    }

    QIconEngine* clone() const override { return new GlyphIconEngine(m_code); }

private:
    QChar m_code;
};

// The glyph centred in size, its em square as large as fits. Whole pixels, so that the straight
// edges of the icons stay sharp.
void paintGlyph(QPainter* painter, QRawFont font, QChar code, QSize size)
{
    // The em square of the font is 14 units wide where most icons fill 12.
    int const em = std::min(size.width(), size.height());
    font.setPixelSize(em * 14 / 16.0);
    QVector<quint32> const glyphs = font.glyphIndexesForString(code);
    if (glyphs.isEmpty() || glyphs.first() == 0)
        return;
    QPainterPath const path = font.pathForGlyph(glyphs.first());
    QRectF const box = path.boundingRect();
    qreal const x = std::round((size.width() - box.width()) / 2 - box.x());
    qreal const y = std::round((size.height() - box.height()) / 2 - box.y());
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(x, y);
    painter->fillPath(path, painter->pen().color());
}

[[noreturn]] void exitWithoutFont(QString const& text)
{
    NakFatalBox::show({ QStringLiteral("Icon Font Load Failure"), text, {}, {} });
    std::exit(1);
}

} // namespace

bool operator==(NakColorGlyphCacheKey const& a, NakColorGlyphCacheKey const& b)
{
    return a.code == b.code && a.color == b.color && a.width == b.width && a.height == b.height;
}

uint qHash(NakColorGlyphCacheKey const& key, uint seed)
{
    QtPrivate::QHashCombine const combine{};
    seed = combine(seed, key.code);
    seed = combine(seed, key.color);
    seed = combine(seed, key.width);
    return combine(seed, key.height);
}

NakGuiIcons::NakGuiIcons(QObject* parent)
    : QObject(parent)
{
}

NakGuiIcons::~NakGuiIcons() = default;

QIcon NakGuiIcons::iconForCode(QChar code)
{
    NakIconCacheKey const key{ code.unicode() };
    if (QIcon const* icon = m_icons.object(key))
        return *icon;
    QIcon icon(new GlyphIconEngine(code));
    m_icons.insert(key, new QIcon(icon));
    return icon;
}

QIcon NakGuiIcons::rasterizeIconForCode(QChar code)
{
    QIcon icon;
    for (int extent : { 16, 24, 32, 48, 64 }) {
        for (QIcon::Mode mode : { QIcon::Normal, QIcon::Disabled }) {
            icon.addPixmap(coloredGlyph(code, colorForMode(mode), { extent, extent }), mode);
        }
    }
    return icon;
}

QPixmap NakGuiIcons::coloredGlyph(QChar code, QColor const& color, QSize size)
{
    if (size.isEmpty())
        return {};
    NakColorGlyphCacheKey const key{ code.unicode(), color.rgba(), size.width(), size.height() };
    if (QPixmap const* glyph = m_glyphs.object(key))
        return *glyph;

    ensureFontIsOpen();
    QPixmap glyph(size);
    glyph.fill(Qt::transparent);
    QPainter painter(&glyph);
    painter.setPen(color);
    paintGlyph(&painter, m_font, code, size);
    painter.end();
    m_glyphs.insert(key, new QPixmap(glyph));
    return glyph;
}

QPixmap NakGuiIcons::pixmapForCodeAndColorAtSize(QChar code, QColor const& color, QSize size)
{
    qreal const density = qGuiApp ? qGuiApp->devicePixelRatio() : 1;
    QPixmap glyph = coloredGlyph(code, color, (QSizeF(size) * density).toSize());
    glyph.setDevicePixelRatio(density);
    return glyph;
}

QPixmap NakGuiIcons::pixmapForCodeAndColor(QChar code, QColor const& color)
{
    return pixmapForCodeAndColorAtSize(code, color, { defaultIconSize, defaultIconSize });
}

QColor NakGuiIcons::normalIconColor() const
{
    return NakAppTheme::getGlobalThemeColors().icon;
}

void NakGuiIcons::ensureFontIsOpen()
{
    if (m_font.isValid())
        return;
    initFontResource();
    // Uncompressed in the program, so the bytes are used where they lie.
    QResource const resource(QStringLiteral(":/fonts/FANakwire.otf"));
    auto const* bytes = reinterpret_cast<char const*>(resource.data());
    // A raw font, not an application font: the latter makes the font database look at every font
    // of the machine once more.
    if (bytes)
        m_font.loadFromData(QByteArray::fromRawData(bytes, static_cast<int>(resource.size())), 16,
                            QFont::PreferNoHinting);
    if (!m_font.isValid()) {
        exitWithoutFont(QStringLiteral(
            "Qt failed to load icon font from embedded resources file. The icon font is required "
            "for normal operation, so the application must now quit."));
    }
    if (m_font.familyName().isEmpty()) {
        exitWithoutFont(QStringLiteral(
            "Qt loaded the icon font file, but failed to make it available to the font rendering "
            "system. The icon font is required for normal operation, so the application must now "
            "quit."));
    }
}
