// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "uni_list_view.h"

#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyleOptionFocusRect>

namespace {

constexpr int rowPadding = 4; // pixels beyond the font's height, both sides together
constexpr double hoverStrength = 0.2; // of the selection's colour

} // namespace

UniListViewBase::UniListViewBase(QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_rowHeight(fontMetrics().height() + rowPadding)
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setMouseTracking(true);
    verticalScrollBar()->setSingleStep(m_rowHeight);
}

UniListViewBase::~UniListViewBase() = default;

void UniListViewBase::setSelectionMode(SelectionMode mode)
{
    m_selectionMode = mode;
    bool changed = false;
    if (mode == NoSelection || (mode == SingleSelection && m_spots.current < 0)) {
        changed = selectRows({}, false);
    } else if (mode == SingleSelection) {
        changed = selectRows({ m_spots.current, m_spots.current }, false);
    }
    announce(false, changed);
}

void UniListViewBase::setRowHeight(int height)
{
    m_rowHeight = std::max(1, height);
    verticalScrollBar()->setSingleStep(m_rowHeight);
    layOut();
    viewport()->update();
}

void UniListViewBase::setTopMargin(int margin)
{
    m_topMargin = std::max(0, margin);
    layOut();
    viewport()->update();
}

void UniListViewBase::setCurrentRow(int row)
{
    _changeCurrentRow(row, Qt::NoModifier);
}

QRect UniListViewBase::rectForRow(int row) const
{
    return { 0, m_topMargin + row * m_rowHeight - m_offset, viewport()->width(), m_rowHeight };
}

int UniListViewBase::rowAt(QPoint const& pos) const
{
    int const position = pos.y() + m_offset - m_topMargin;
    int const row = position / m_rowHeight;
    return viewport()->rect().contains(pos) && position >= 0 && row < m_rowCount ? row : -1;
}

void UniListViewBase::ensureRowVisibleWithMinimumScrolling(int row)
{
    if (row < 0 || row >= m_rowCount) {
        return;
    }
    QRect const rect = rectForRow(row);
    int const below = rect.bottom() + 1 - viewport()->height();
    if (rect.top() < 0 || below > rect.top()) {
        verticalScrollBar()->setValue(m_offset + rect.top());
    } else if (below > 0) {
        verticalScrollBar()->setValue(m_offset + below);
    }
}

bool UniListViewBase::viewportEvent(QEvent* event)
{
    switch (event->type()) {
    case QEvent::MouseMove:
        m_mousePos = static_cast<QMouseEvent*>(event)->pos();
        refreshHover();
        break;
    case QEvent::Leave:
        m_mousePos = { -1, -1 };
        refreshHover();
        break;
    default:
        break;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void UniListViewBase::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    RowRange const rows = rowsInViewport();
    for (int row = rows.first; row <= rows.last; ++row) {
        QRect const rect = rectForRow(row);
        if (event->region().intersects(rect)) {
            paintGround(painter, rect, row);
            paintRow(&painter, event->region(), rect, row);
        }
    }
    paintFocus(painter);
}

void UniListViewBase::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    if (!m_layingOut) {
        layOut();
    }
}

void UniListViewBase::showEvent(QShowEvent* event)
{
    QAbstractScrollArea::showEvent(event);
    if (!m_firstBuildDone) {
        m_firstBuildDone = true;
        layOut();
    }
}

void UniListViewBase::scrollContentsBy(int /*dx*/, int dy)
{
    m_offset = verticalScrollBar()->value();
    if (m_layingOut) {
        return;
    }
    remakeVisible();
    viewport()->scroll(0, dy);
    refreshHover();
}

void UniListViewBase::mousePressEvent(QMouseEvent* event)
{
    int const row = rowAt(event->pos());
    // A menu for several rows must not cost the selection that it is for.
    bool const forMenu = event->button() == Qt::RightButton && rowIsSelected(row);
    if (forMenu) {
        announce(moveCurrent(row, m_spots.anchor), false);
    } else if (row >= 0) {
        _changeCurrentRow(row, event->modifiers());
    } else if (m_selectionMode == ExtendedSelection
               && !(event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier))) {
        announce(false, selectRows({}, false));
    }
}

// A quick second click after the list moved under the pointer is a click on another row.
void UniListViewBase::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (rowAt(event->pos()) != m_spots.current) {
        mousePressEvent(event);
    }
}

void UniListViewBase::keyPressEvent(QKeyEvent* event)
{
    if (m_spots.current >= 0 && rowKeyPress(m_spots.current, event)) {
        return;
    }
    int const row = rowForKey(*event);
    if (row < 0) {
        if (!handleSelectionKey(event)) {
            event->ignore(); // the area would scroll away from the current row
        }
        return;
    }
    // Ctrl moves without selecting.
    bool const ctrlAlone = event->modifiers().testFlag(Qt::ControlModifier)
        && !event->modifiers().testFlag(Qt::ShiftModifier);
    if (ctrlAlone && m_selectionMode == ExtendedSelection) {
        announce(moveCurrent(row, m_spots.anchor), false);
    } else {
        _changeCurrentRow(row, event->modifiers());
    }
}

void UniListViewBase::contextMenuEvent(QContextMenuEvent* event)
{
    if (event->reason() == QContextMenuEvent::Mouse) {
        int const row = rowAt(event->pos());
        row < 0 ? event->ignore() : rowContextMenu(row, event);
        return;
    }
    int const row = m_spots.current;
    if (row < 0) {
        event->ignore();
        return;
    }
    ensureRowVisibleWithMinimumScrolling(row);
    QPoint const below = rectForRow(row).bottomLeft();
    QContextMenuEvent atRow(event->reason(), below, viewport()->mapToGlobal(below),
                            event->modifiers());
    rowContextMenu(row, &atRow);
    event->setAccepted(atRow.isAccepted());
}

void UniListViewBase::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update(); // the frame, and the colour of what is selected
}

void UniListViewBase::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

UniListViewBase::RowRange UniListViewBase::rowsInViewport() const
{
    int const top = m_offset - m_topMargin;
    int const bottom = top + viewport()->height();
    if (!m_firstBuildDone || bottom <= 0) {
        return {};
    }
    return { std::max(0, top) / m_rowHeight, std::min(m_rowCount - 1, (bottom - 1) / m_rowHeight) };
}

void UniListViewBase::adoptListing(int rowCount, Spots const& found)
{
    RowRange const seen = rowsInViewport();
    bool const inSight = m_spots.current >= seen.first && m_spots.current <= seen.last;
    bool const currentMoved = m_spots.current != found.current;
    int const oldCurrent = m_spots.current;
    m_spots = found;
    m_rowCount = rowCount;
    layOut();
    if (currentMoved) {
        updateRow(oldCurrent);
        updateRow(found.current);
        if (inSight) {
            ensureRowVisibleWithMinimumScrolling(found.current);
        }
    }
}

// The rules of the platform. Ctrl with Shift adds a range.
void UniListViewBase::_changeCurrentRow(int row, Qt::KeyboardModifiers modifiers)
{
    if (row < 0 || row >= m_rowCount) {
        return;
    }
    bool const extends = m_spots.anchor >= 0 && modifiers.testFlag(Qt::ShiftModifier);
    bool const moved = moveCurrent(row, extends ? m_spots.anchor : row);
    announce(moved, applySelection(row, modifiers));
}

bool UniListViewBase::applySelection(int row, Qt::KeyboardModifiers modifiers)
{
    bool const extended = m_selectionMode == ExtendedSelection;
    bool const ctrl = modifiers.testFlag(Qt::ControlModifier);
    if (m_selectionMode == NoSelection) {
        return false;
    }
    if (extended && modifiers.testFlag(Qt::ShiftModifier)) {
        return selectRows({ std::min(row, m_spots.anchor), std::max(row, m_spots.anchor) }, ctrl);
    }
    if (extended && ctrl) {
        return toggleRow(row);
    }
    return selectRows({ row, row }, false);
}

// Ctrl+A takes all, Space adds the current row, Ctrl+Space toggles it.
bool UniListViewBase::handleSelectionKey(QKeyEvent* event)
{
    if (m_selectionMode != ExtendedSelection) {
        return false;
    }
    bool changed = false;
    if (event->matches(QKeySequence::SelectAll)) {
        changed = selectRows({ 0, m_rowCount - 1 }, false);
    } else if (event->key() == Qt::Key_Space && m_spots.current >= 0) {
        int const row = m_spots.current;
        moveCurrent(row, row);
        changed = event->modifiers().testFlag(Qt::ControlModifier) ? toggleRow(row)
                                                                   : selectRows({ row, row }, true);
    } else {
        return false;
    }
    announce(false, changed);
    return true;
}

// Where a key leads from the current row; -1 for other keys and in an empty list.
int UniListViewBase::rowForKey(QKeyEvent const& event) const
{
    if (event.modifiers() & (Qt::AltModifier | Qt::MetaModifier)) {
        return -1;
    }
    int const page = std::max(1, viewport()->height() / m_rowHeight);
    int const last = m_rowCount - 1;
    int const from = m_spots.current;
    int row = 0;
    switch (event.key()) {
    case Qt::Key_Up:
        row = from - 1;
        break;
    case Qt::Key_Down:
        row = from + 1;
        break;
    case Qt::Key_PageUp:
        row = from - page;
        break;
    case Qt::Key_PageDown:
        row = from + page;
        break;
    case Qt::Key_Home:
        break;
    case Qt::Key_End:
        row = last;
        break;
    default:
        return -1;
    }
    return std::min(last, std::max(0, row));
}

// Returns whether the current row is another now, which is in sight then.
bool UniListViewBase::moveCurrent(int row, int anchor)
{
    int const old = m_spots.current;
    m_spots.current = row;
    m_spots.anchor = anchor;
    keepKeysOfSpots();
    updateRow(old);
    updateRow(row);
    ensureRowVisibleWithMinimumScrolling(row);
    return old != row;
}

void UniListViewBase::announce(bool currentMoved, bool selectionMoved)
{
    if (selectionMoved) {
        viewport()->update();
    }
    if (currentMoved) {
        emit currentChanged();
    }
    if (selectionMoved) {
        emit selectionChanged();
    }
}

void UniListViewBase::refreshHover()
{
    int const row = m_mousePos.y() < 0 ? -1 : rowAt(m_mousePos);
    if (row != m_spots.hover) {
        updateRow(m_spots.hover);
        updateRow(row);
        m_spots.hover = row;
        keepKeysOfSpots();
    }
}

void UniListViewBase::paintGround(QPainter& painter, QRect const& rect, int row) const
{
    QPalette const& colors = palette();
    QPalette::ColorGroup const group = !isEnabled() ? QPalette::Disabled
        : isActiveWindow()                          ? QPalette::Active
                                                    : QPalette::Inactive;
    bool const selected = rowIsSelected(row);
    QColor ground = colors.color(group, QPalette::Highlight);
    if (selected) {
        painter.fillRect(rect, ground);
    } else if (row == m_spots.hover) {
        ground.setAlphaF(hoverStrength);
        painter.fillRect(rect, ground);
    }
    painter.setPen(colors.color(group, selected ? QPalette::HighlightedText : QPalette::Text));
}

void UniListViewBase::paintFocus(QPainter& painter) const
{
    if (m_spots.current < 0 || !hasFocus()) {
        return;
    }
    QStyleOptionFocusRect frame;
    frame.initFrom(this);
    frame.rect = rectForRow(m_spots.current);
    bool const selected = rowIsSelected(m_spots.current);
    frame.backgroundColor = palette().color(selected ? QPalette::Highlight : QPalette::Base);
    if (!selected) {
        frame.state |= QStyle::State_KeyboardFocusChange; // nothing else would show it
    }
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &frame, &painter, this);
}

void UniListViewBase::updateRow(int row)
{
    if (row >= 0) {
        viewport()->update(rectForRow(row));
    }
}

void UniListViewBase::layOut()
{
    int const oldOffset = m_offset;
    m_layingOut = true;
    updateScrollBar();
    m_layingOut = false;
    QRegion const changed = remakeVisible();
    if (m_offset == oldOffset) {
        viewport()->update(changed);
    } else {
        viewport()->update();
    }
    refreshHover();
}

void UniListViewBase::updateScrollBar()
{
    QScrollBar* const bar = verticalScrollBar();
    bar->setPageStep(viewport()->height());
    bar->setRange(0, std::max(0, m_topMargin + m_rowCount * m_rowHeight - viewport()->height()));
}
