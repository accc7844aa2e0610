// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "lit_item_view.h"

#include "lit_item_accessible.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <utility>

LitPathEntry const* LitPath::find(unsigned int item) const
{
    auto const found = std::find_if(
        begin(), end(), [item](LitPathEntry const& entry) { return entry.item == item; });
    return found == end() ? nullptr : found;
}

int LitPath::indexOf(unsigned int item) const
{
    LitPathEntry const* const found = find(item);
    return found == nullptr ? -1 : static_cast<int>(found - begin());
}

LitItemView::LitItemView(QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_root(Lit::createItem(m_ctx))
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAttribute(Qt::WA_MouseTracking);
    LitAccessible::install();
}

LitItemView::~LitItemView() = default;

unsigned int LitItemView::createItem(unsigned int style)
{
    return Lit::createItem(m_ctx, style);
}

void LitItemView::deleteItem(unsigned int item)
{
    Q_ASSERT(item != m_root);
    m_visibleGone = m_visibleGone || itemIsVisible(item);
    detach(item);
    Lit::deleteItem(m_ctx, item);
}

void LitItemView::detach(unsigned int item)
{
    noteChange(Lit::detach(m_ctx, item) == m_root);
}

void LitItemView::prependChild(unsigned int parent, unsigned int child)
{
    unsigned int const first = firstChild(parent);
    if (first != child) {
        hang(parent, child, first);
    }
}

void LitItemView::appendChild(unsigned int parent, unsigned int child)
{
    if (lastChild(parent) != child) {
        hang(parent, child, Lit::none);
    }
}

void LitItemView::insertBefore(unsigned int sibling, unsigned int item)
{
    if (sibling != item && prevSibling(sibling) != item) {
        hang(parent(sibling), item, sibling);
    }
}

void LitItemView::insertAfter(unsigned int sibling, unsigned int item)
{
    if (sibling != item && nextSibling(sibling) != item) {
        hang(parent(sibling), item, nextSibling(sibling));
    }
}

unsigned int LitItemView::createStyle(int header, int /*unused*/)
{
    return Lit::createStyle(m_ctx, header);
}

void LitItemView::deleteStyle(unsigned int style)
{
    Lit::deleteStyle(m_ctx, style);
}

void LitItemView::setStyleHeader(unsigned int style, int header)
{
    noteChange(Lit::setStyleHeader(m_ctx, style, header));
}

void LitItemView::setItemStyle(unsigned int item, unsigned int style)
{
    if (node(item).style != style) {
        noteChange(Lit::setItemStyle(m_ctx, item, style) == m_root);
    }
}

void LitItemView::rebuildLengths(unsigned int item)
{
    noteChange(Lit::rebuildLengths(m_ctx, item) == m_root);
}

void LitItemView::rebuildAllLengths()
{
    Lit::rebuildAllLengths(m_ctx);
    noteChange(true);
}

int LitItemView::styleHeader(unsigned int style) const
{
    return static_cast<int>(m_ctx.style[static_cast<int>(style)]);
}

bool LitItemView::itemExists(unsigned int item) const
{
    return item < m_ctx.nodes.size() && m_ctx.itemIds.IsID(item);
}

unsigned int LitItemView::lastDescendant(unsigned int item) const
{
    return Lit::lastDescendant(m_ctx, item);
}

unsigned int LitItemView::nextLinearly(unsigned int item) const
{
    return Lit::nextLinearly(m_ctx, item);
}

unsigned int LitItemView::prevLinearly(unsigned int item) const
{
    return Lit::prevLinearly(m_ctx, item);
}

unsigned int LitItemView::nextDescendant(unsigned int item, unsigned int ancestor) const
{
    return Lit::nextDescendant(m_ctx, item, ancestor);
}

unsigned int LitItemView::prevDescendant(unsigned int item, unsigned int ancestor) const
{
    return Lit::prevDescendant(m_ctx, item, ancestor);
}

bool LitItemView::isDescendantOf(unsigned int item, unsigned int ancestor) const
{
    return Lit::isDescendantOf(m_ctx, item, ancestor);
}

int LitItemView::rootLength() const
{
    return static_cast<int>(node(m_root).length);
}

void LitItemView::beginEdit()
{
    ++m_editDepth;
}

void LitItemView::endEdit()
{
    Q_ASSERT(m_editDepth > 0);
    if (--m_editDepth == 0 && m_changePending) {
        layOut();
    }
}

void LitItemView::invalidate()
{
    viewport()->update();
}

void LitItemView::invalidate(QRect const& rect)
{
    viewport()->update(rect);
}

void LitItemView::invalidate(QRegion const& region)
{
    viewport()->update(region);
}

QRect LitItemView::rectForVisibleItem(unsigned int item) const
{
    auto const found =
        std::find_if(m_visible.cbegin(), m_visible.cend(),
                     [item](LitVisibleItem const& visible) { return visible.item == item; });
    return found == m_visible.cend() ? QRect() : found->rect;
}

bool LitItemView::itemIsVisible(unsigned int item) const
{
    return !rectForVisibleItem(item).isNull();
}

QRect LitItemView::rectForItem(unsigned int item) const
{
    if (Lit::topOf(m_ctx, item) != m_root) {
        return QRect();
    }
    Lit::Span const span = Lit::itemSpan(m_ctx, item);
    return rectAt(span.top, span.length);
}

LitPath LitItemView::pathAtPoint(QPoint const& point) const
{
    LitPath path;
    if (point.x() < 0 || point.x() >= viewport()->width()) {
        return path;
    }
    int const position = point.y() + m_offset;
    Lit::walkSpan(m_ctx, m_root, position, position + 1, [&](unsigned int item, int top) {
        path.append({ item, rectAt(top, static_cast<int>(node(item).length)) });
    });
    return path;
}

void LitItemView::ensureItemVisibleWithMinimumScrolling(unsigned int item)
{
    updateScrollBar(); // an open edit has not told it yet
    QRect const rect = rectForItem(item);
    if (rect.isNull()) {
        return;
    }
    int const below = rect.bottom() + 1 - viewport()->height();
    if (rect.top() < 0 || below > rect.top()) {
        verticalScrollBar()->setValue(m_offset + rect.top());
    } else if (below > 0) {
        verticalScrollBar()->setValue(m_offset + below);
    }
}

LitSpokenItem LitItemView::spokenItem(unsigned int /*item*/) const
{
    return {};
}

void LitItemView::paintItem(QPainter* /*painter*/, unsigned int /*item*/, QRect const& /*itemRect*/,
                            QRect const& /*fullRect*/, QRegion const& /*region*/)
{
}

void LitItemView::visibleItemsChanged() { }

void LitItemView::viewportMouseEnterEvent(QEvent* /*event*/) { }

void LitItemView::viewportMousePositionEvent(QPoint const& /*pos*/) { }

void LitItemView::viewportMouseLeaveEvent(QEvent* /*event*/) { }

bool LitItemView::viewportEvent(QEvent* event)
{
    switch (event->type()) {
    case QEvent::Enter:
        m_mousePos = static_cast<QEnterEvent*>(event)->pos();
        viewportMouseEnterEvent(event);
        break;
    case QEvent::MouseMove:
        m_mousePos = static_cast<QMouseEvent*>(event)->pos();
        viewportMousePositionEvent(m_mousePos);
        break;
    case QEvent::Leave:
        m_mousePos = { -1, -1 };
        viewportMouseLeaveEvent(event);
        break;
    default:
        break;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void LitItemView::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    QRegion const& region = event->region();
    for (LitVisibleItem const& visible : qAsConst(m_visible)) {
        if (region.intersects(visible.rect)) {
            QRect header = visible.rect;
            header.setHeight(static_cast<int>(Lit::headerOf(m_ctx, visible.item)));
            paintItem(&painter, visible.item, header, visible.rect, region);
        }
    }
}

void LitItemView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    if (!m_layingOut) {
        noteChange(true);
    }
}

void LitItemView::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    if (!m_firstBuildDone) {
        noteChange(true);
    }
}

void LitItemView::scrollContentsBy(int /*dx*/, int dy)
{
    m_offset = verticalScrollBar()->value();
    if (m_layingOut) {
        return;
    }
    if (m_editDepth > 0) {
        m_changePending = true;
        return;
    }
    rebuildVisibleItems();
    viewport()->scroll(0, dy);
    tellMousePosition();
}

void LitItemView::hang(unsigned int parent, unsigned int item, unsigned int before)
{
    Q_ASSERT(item != m_root);
    bool const left = Lit::detach(m_ctx, item) == m_root;
    bool const came = Lit::attach(m_ctx, parent, item, before) == m_root;
    noteChange(left || came);
}

void LitItemView::noteChange(bool underRoot)
{
    if (!underRoot) {
        return;
    }
    if (m_editDepth > 0) {
        m_changePending = true;
    } else {
        layOut();
    }
}

void LitItemView::layOut()
{
    m_changePending = false;
    m_layingOut = true;
    updateScrollBar();
    m_layingOut = false;
    m_visibleBefore.swap(m_visible);
    rebuildVisibleItems();
    // What the same item at the same place looks like, its owner knows; but not whether its number
    // came back.
    if (std::exchange(m_visibleGone, false) || !looksLikeBefore()) {
        viewport()->update();
        tellMousePosition();
    }
}

void LitItemView::tellMousePosition()
{
    if (m_mousePos.y() >= 0) {
        viewportMousePositionEvent(m_mousePos);
    }
}

// What ends far below may end elsewhere: the items above it grow with whatever is added there.
bool LitItemView::looksLikeBefore() const
{
    QRect const near = viewport()->rect().adjusted(0, 0, 0, viewport()->height());
    auto const isSame = [near](LitVisibleItem const& a, LitVisibleItem const& b) {
        return a.item == b.item && a.rect.top() == b.rect.top()
            && a.rect.intersected(near) == b.rect.intersected(near);
    };
    return std::equal(m_visible.cbegin(), m_visible.cend(), m_visibleBefore.cbegin(),
                      m_visibleBefore.cend(), isSame);
}

void LitItemView::updateScrollBar()
{
    QScrollBar* const bar = verticalScrollBar();
    bar->setPageStep(viewport()->height());
    bar->setRange(0, std::max(0, rootLength() - viewport()->height()));
}

void LitItemView::rebuildVisibleItems()
{
    m_visible.resize(0);
    if (m_firstBuildDone || viewport()->isVisible()) {
        m_firstBuildDone = true;
        Lit::walkSpan(
            m_ctx, m_root, m_offset, m_offset + viewport()->height(),
            [this](unsigned int item, int top) {
                m_visible.append({ item, rectAt(top, static_cast<int>(node(item).length)) });
            });
    }
    visibleItemsChanged();
}

QRect LitItemView::rectAt(int top, int length) const
{
    return QRect(0, top - m_offset, viewport()->width(), length);
}
