// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// All small icons, drawn from the icon font by glyph code (Font Awesome code points). The font
// stands in the program itself and is opened by the first glyph that is drawn: most of the cost of
// a window's first paint is fonts. User-interface thread.

#include <QCache>
#include <QColor>
#include <QHashFunctions>
#include <QIcon>
#include <QObject>
#include <QPixmap>
#include <QRawFont>
#include <QSize>

struct NakIconCacheKey {
    ushort code;
};
inline bool operator==(NakIconCacheKey a, NakIconCacheKey b)
{
    return a.code == b.code;
}
inline uint qHash(NakIconCacheKey key, uint seed = 0)
{
    return ::qHash(key.code, seed);
}

struct NakColorGlyphCacheKey {
    ushort code;
    QRgb color;
    int width; // device pixels
    int height;
};
bool operator==(NakColorGlyphCacheKey const& a, NakColorGlyphCacheKey const& b);
uint qHash(NakColorGlyphCacheKey const& key, uint seed = 0);

class NakGuiIcons : public QObject {
    Q_OBJECT
public:
    explicit NakGuiIcons(QObject* parent = nullptr);
    ~NakGuiIcons() override;

    // Draws itself in the theme's colours of the moment, at any size and density. The same icon, by
    // cacheKey(), for the same code as long as it stays in the cache.
    QIcon iconForCode(QChar code);
    // The same picture as plain pixmaps, for what keeps icons beyond this program's windows.
    QIcon rasterizeIconForCode(QChar code);

    // size is in device pixels. The glyph is centred in it; a code without a glyph is transparent.
    QPixmap coloredGlyph(QChar code, QColor const& color, QSize size);

    // Sizes in device-independent pixels; the pixmap has the application's density.
    QPixmap pixmapForCodeAndColorAtSize(QChar code, QColor const& color, QSize size);
    QPixmap pixmapForCodeAndColor(QChar code, QColor const& color);

    QColor normalIconColor() const; // the theme's

private:
    // Ends the process with a box when the font is unusable.
    void ensureFontIsOpen();

    QRawFont m_font;
    QCache<NakIconCacheKey, QIcon> m_icons;
    QCache<NakColorGlyphCacheKey, QPixmap> m_glyphs;
};

// Set and cleared in src/app.
extern NakGuiIcons* g_guiIcons;
