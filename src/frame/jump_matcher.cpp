// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "jump_matcher.h"

#include "gui_icons.h"
#include "nak_go.h"

#include <QPainter>
#include <QPixmap>

INakJumpProvider::~INakJumpProvider() = default;

NakJumpMatcher::NakJumpMatcher(NakJump::MatcherCtorParams const& params)
    : QObject(params.parent)
    , m_view(params.view)
    , m_style(params.style)
{
}

NakJumpMatcher::~NakJumpMatcher() = default;

void NakJumpMatcher::visibleItemsChanged(QVarLengthArray<unsigned int, 32> const& /*items*/) { }

QSize NakJumpMatcher::defaultDecorationSize() const
{
    return { m_style->decorationSize, m_style->decorationSize };
}

QRect NakJumpMatcher::decorationRect(NakJump::PaintOptions const& options) const
{
    QRect const& row = options.rect;
    QSize const size = defaultDecorationSize();
    return { QPoint(row.left() + m_style->padding, row.top() + (row.height() - size.height()) / 2),
             size };
}

QRect NakJumpMatcher::contentsRect(NakJump::PaintOptions const& options) const
{
    int const left = decorationRect(options).right() + 1 + m_style->gap;
    return options.rect.adjusted(left - options.rect.left(), 0, -m_style->padding, 0);
}

void NakJumpMatcher::drawBackground(QPainter* painter, NakJump::PaintOptions const& options) const
{
    if (options.selected)
        painter->fillRect(options.rect, m_style->selectedFill);
}

void NakJumpMatcher::drawDecoration(QPainter* painter, QPixmap const& pixmap,
                                    NakJump::PaintOptions const& options) const
{
    QRect const place = decorationRect(options);
    QSize const size = pixmap.size() / pixmap.devicePixelRatio();
    painter->drawPixmap(place.left() + (place.width() - size.width()) / 2,
                        place.top() + (place.height() - size.height()) / 2, pixmap);
}

void NakJumpMatcher::drawGlyph(QPainter* painter, ushort glyph,
                               NakJump::PaintOptions const& options) const
{
    if (g_guiIcons)
        drawDecoration(painter,
                       g_guiIcons->pixmapForCodeAndColorAtSize(
                           QChar(glyph), options.selected ? m_style->selectedText : m_style->icon,
                           defaultDecorationSize()),
                       options);
}

void NakJumpMatcher::drawText(QPainter* painter, NakJump::RowText* text,
                              NakJump::PaintOptions const& options) const
{
    QRect const contents = contentsRect(options);
    if (text->width != contents.width())
        NakJump::layoutRowText(text, contents.width(), *m_style);
    painter->setFont(m_style->font);
    NakJump::paintRowText(painter, *text, contents, options.selected, *m_style);
}

void NakJumpMatcher::openPlace(NakNavLoc const& place, NakJump::ActivationOpts const& options)
{
    using NakGo::OpenMode;
    NakGo::openNavLoc(place, options.inNewTab ? OpenMode::BackgroundTab : OpenMode::CurrentTab,
                      m_view);
}

void NakJumpMatcher::invalidateItem(unsigned int item, QRect const& rect)
{
    emit itemDirtied(item, rect);
}

void NakJumpMatcher::updateMatches(QVector<unsigned int> const& removed,
                                   NakJump::Added const& added)
{
    emit matchesUpdated(removed, added);
}
