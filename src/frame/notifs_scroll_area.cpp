// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notifs_scroll_area.h"

#include "empty_hint.h"
#include "notif_manager.h"

#include <QApplication>
#include <QCursor>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyle>

#include <algorithm>

NakNotifsScrollArea::NakNotifsScrollArea(QWidget* parent)
    : QAbstractScrollArea(parent)
    , m_metrics(font())
    , m_theme(palette())
{
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Notifications"));
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setMouseTracking(true);
    auto* const manager = NakNotif::g_nakNotifManager;
    for (NakNotifItem* item : manager->items())
        appendRow(item);
    updateLayout();
    connect(manager, &NakNotifManager::itemAdded, this, &NakNotifsScrollArea::on_itemAdded);
    connect(manager, &NakNotifManager::itemRemoved, this, &NakNotifsScrollArea::on_itemRemoved);
    connect(manager, &NakNotifManager::itemActionsChanged, this,
            &NakNotifsScrollArea::on_itemActionsChanged);
}

NakNotifsScrollArea::~NakNotifsScrollArea() = default;

// --- items ---

void NakNotifsScrollArea::on_itemAdded(NakNotifItem* item)
{
    appendRow(item);
    updateLayout();
}

void NakNotifsScrollArea::on_itemRemoved(NakNotifItem* item)
{
    int const row = rowOfItem(item);
    if (row < 0)
        return;
    // Not at once: the form may be in the middle of the click that withdraws its item.
    NakNotifVis* const vis = m_rows.at(row).vis;
    vis->setContainerReady(false);
    vis->deleteLater();
    if (m_pressedVis == vis)
        m_pressedVis = nullptr;
    m_pressed = m_mouseOver = {};
    int const top = m_rows.at(row).top;
    int const height = m_rows.at(row).height;
    m_rows.remove(row);
    if (m_caret.row > row)
        --m_caret.row;
    else if (m_caret.row == row)
        m_caret.action = 0; // of the neighbour that moves up
    updateLayoutAfterChange(top + height, -height);
}

void NakNotifsScrollArea::on_itemActionsChanged(NakNotifItem* item)
{
    int const row = rowOfItem(item);
    if (row < 0)
        return;
    m_pressed = m_mouseOver = {};
    changeRow(row);
}

void NakNotifsScrollArea::appendRow(NakNotifItem* item)
{
    Row row{ item, item->createVis({ this, this }), {} };
    row.vis->setWidthInContainer(viewport()->width());
    updateRow(row);
    m_rows.append(row);
    row.vis->setContainerReady(true);
}

int NakNotifsScrollArea::rowOfItem(NakNotifItem const* item) const
{
    auto const it = std::find_if(m_rows.begin(), m_rows.end(),
                                 [item](Row const& row) { return row.item == item; });
    return it == m_rows.end() ? -1 : static_cast<int>(it - m_rows.begin());
}

int NakNotifsScrollArea::rowOfVis(NakNotifVis const* vis) const
{
    auto const it = std::find_if(m_rows.begin(), m_rows.end(),
                                 [vis](Row const& row) { return row.vis == vis; });
    return it == m_rows.end() ? -1 : static_cast<int>(it - m_rows.begin());
}

// --- layout ---

void NakNotifsScrollArea::giveWidths()
{
    m_layingOut = true;
    for (Row& row : m_rows) {
        row.vis->setWidthInContainer(viewport()->width());
        updateRow(row);
    }
    m_layingOut = false;
    updateLayout();
}

void NakNotifsScrollArea::updateRow(Row& row) const
{
    int const visHeight = std::max(row.vis->height(), 0);
    row.strip = layoutActions(*row.item, m_metrics, visHeight, viewport()->width());
    row.height = visHeight + row.strip.height + m_metrics.separator;
}

void NakNotifsScrollArea::changeRow(int row)
{
    Row& r = m_rows[row];
    int const oldHeight = r.height;
    updateRow(r);
    updateLayoutAfterChange(r.top + oldHeight, r.height - oldHeight);
}

// Of a row whose bottom was there: when that was above what is on screen, this stays where it is.
void NakNotifsScrollArea::updateLayoutAfterChange(int oldBottom, int growth)
{
    int const scrolled = verticalScrollBar()->value();
    updateLayout();
    if (oldBottom <= scrolled)
        verticalScrollBar()->setValue(scrolled + growth);
}

void NakNotifsScrollArea::updateLayout()
{
    int top = 0;
    for (Row& row : m_rows) {
        row.top = top;
        top += row.height;
    }
    clampCaret();
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(m_metrics.stripHeight);
    verticalScrollBar()->setRange(0, std::max(top - viewport()->height(), 0));
    updateVisibleItems();
}

void NakNotifsScrollArea::updateVisibleItems()
{
    int const top = verticalScrollBar()->value();
    auto const first =
        std::upper_bound(m_rows.begin(), m_rows.end(), top,
                         [](int y, Row const& row) { return y < row.top + row.height; });
    m_firstVisible = static_cast<int>(first - m_rows.begin());
    m_visible.clear();
    for (int i = m_firstVisible; i < m_rows.size(); ++i) {
        QRect const rect = rowRect(i);
        if (rect.top() >= viewport()->height())
            break;
        m_visible.append({ m_rows.at(i).vis, rect });
    }
    viewport()->update();
    checkAndUpdateMouseOver();
}

QRect NakNotifsScrollArea::rowRect(int row) const
{
    Row const& r = m_rows.at(row);
    return { 0, r.top - verticalScrollBar()->value(), viewport()->width(), r.height };
}

QRect NakNotifsScrollArea::actionRect(int row, int action) const
{
    return m_rows.at(row).strip.actions.at(action).rect.translated(rowRect(row).topLeft());
}

void NakNotifsScrollArea::heightChanged(NakNotifVis* vis)
{
    int const row = rowOfVis(vis);
    if (!m_layingOut && row >= 0)
        changeRow(row);
}

void NakNotifsScrollArea::rectDirtied(NakNotifVis* vis, QRect const& rect)
{
    for (VisibleItem const& visible : qAsConst(m_visible)) {
        if (visible.vis == vis)
            viewport()->update(rect.translated(visible.rect.topLeft()) & visible.rect);
    }
}

QWidget* NakNotifsScrollArea::containingWidget(NakNotifVis const*) const
{
    return viewport();
}

QStyle* NakNotifsScrollArea::style() const
{
    return QWidget::style();
}

void NakNotifsScrollArea::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    giveWidths();
}

void NakNotifsScrollArea::scrollContentsBy(int, int)
{
    updateVisibleItems();
}

void NakNotifsScrollArea::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::PaletteChange:
    case QEvent::StyleChange:
        m_metrics = NakNotifsMetrics(font());
        m_theme = NakNotifsTheme(palette());
        giveWidths();
        break;
    default:
        break;
    }
}

// --- painting ---

void NakNotifsScrollArea::paintEvent(QPaintEvent* event)
{
    if (m_rows.isEmpty()) {
        paintEmptyHint(viewport(),
                       { QStringLiteral("No notifications"),
                         QStringLiteral("Private messages, mentions and notices come here.") });
        return;
    }
    QPainter painter(viewport());
    painter.setFont(font());
    for (int i = 0; i < m_visible.size(); ++i) {
        QRect const rect = m_visible.at(i).rect;
        if (rect.intersects(event->rect()))
            paintRow(painter, m_firstVisible + i, rect, event->rect());
    }
}

void NakNotifsScrollArea::paintRow(QPainter& painter, int row, QRect const& rect,
                                   QRect const& dirty)
{
    Row const& r = m_rows.at(row);
    bool const hasCaret = hasFocus() && row == m_caret.row;
    painter.save();
    painter.translate(rect.topLeft());
    painter.save();
    painter.setClipRect(r.vis->rect());
    r.vis->paint(painter, r.vis->rect() & dirty.translated(-rect.topLeft()));
    painter.restore();
    NakNotifStripState const state{ row == m_mouseOver.row ? m_mouseOver.action : -1,
                                    row == m_pressed.row ? m_pressed.action : -1,
                                    hasCaret ? m_caret.action : -1 };
    paintActions(painter, r.strip, state, m_metrics, m_theme);
    int const content = r.height - m_metrics.separator;
    if (hasCaret)
        painter.fillRect(0, 0, m_metrics.caretBar, content, m_theme.caret);
    painter.fillRect(0, content, rect.width(), m_metrics.separator, m_theme.separator);
    painter.restore();
}

// --- mouse ---

NakNotifsScrollArea::Spot NakNotifsScrollArea::spotAt(QPoint const& pos) const
{
    for (int i = 0; i < m_visible.size(); ++i) {
        QRect const rect = m_visible.at(i).rect;
        int const row = m_firstVisible + i;
        if (rect.contains(pos))
            return { row, hitActions(m_rows.at(row).strip, pos - rect.topLeft()) };
    }
    return {};
}

QPoint NakNotifsScrollArea::posInVis(int row, QPoint const& pos) const
{
    return pos - rowRect(row).topLeft();
}

bool NakNotifsScrollArea::isOverVis(int row, QPoint const& pos) const
{
    return row >= 0 && m_rows.at(row).vis->rect().contains(posInVis(row, pos));
}

void NakNotifsScrollArea::checkAndUpdateMouseOver()
{
    // Where the pointer is the display has to be asked, and waited for.
    setMouseOver(viewport()->underMouse() ? spotAt(viewport()->mapFromGlobal(QCursor::pos()))
                                          : Spot());
}

void NakNotifsScrollArea::setMouseOver(Spot const& spot)
{
    if (spot == m_mouseOver)
        return;
    Spot const old = std::exchange(m_mouseOver, spot);
    updateStrip(old.row);
    updateStrip(spot.row);
}

void NakNotifsScrollArea::updateStrip(int row)
{
    if (row >= 0 && row < m_rows.size())
        viewport()->update(rowRect(row));
}

bool NakNotifsScrollArea::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::Leave)
        setMouseOver({});
    return QAbstractScrollArea::viewportEvent(event);
}

void NakNotifsScrollArea::mousePressEvent(QMouseEvent* event)
{
    Spot const spot = spotAt(event->pos());
    setMouseOver(spot);
    if (spot.row < 0)
        return;
    if (event->button() == Qt::LeftButton) {
        setCaret(spot.row, std::max(spot.action, 0));
        if (spot.action >= 0) {
            m_pressed = spot;
            updateStrip(spot.row);
        }
    }
    if (isOverVis(spot.row, event->pos())) {
        m_pressedVis = m_rows.at(spot.row).vis;
        m_pressedVis->mouseButtonPress(posInVis(spot.row, event->pos()), event);
    }
}

// Quick clicks on one action after another are as many clicks.
void NakNotifsScrollArea::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
}

void NakNotifsScrollArea::mouseReleaseEvent(QMouseEvent* event)
{
    if (NakNotifVis* const vis = std::exchange(m_pressedVis, nullptr)) {
        vis->mouseButtonRelease(posInVis(rowOfVis(vis), event->pos()), event);
        return;
    }
    if (event->button() != Qt::LeftButton || m_pressed.row < 0)
        return;
    Spot const pressed = std::exchange(m_pressed, {});
    updateStrip(pressed.row);
    if (spotAt(event->pos()) == pressed)
        activate(pressed);
}

void NakNotifsScrollArea::mouseMoveEvent(QMouseEvent* event)
{
    Spot const spot = spotAt(event->pos());
    setMouseOver(spot);
    int const row = m_pressedVis ? rowOfVis(m_pressedVis) : spot.row;
    if (m_pressedVis || isOverVis(row, event->pos()))
        m_rows.at(row).vis->mouseMove(posInVis(row, event->pos()));
}

// --- caret ---

void NakNotifsScrollArea::setCaret(int row, int action)
{
    Spot const old = std::exchange(m_caret, { row, action });
    clampCaret();
    updateStrip(old.row);
    updateStrip(m_caret.row);
}

void NakNotifsScrollArea::clampCaret()
{
    if (m_rows.isEmpty()) {
        m_caret = {};
        return;
    }
    m_caret.row = qBound(0, m_caret.row, m_rows.size() - 1);
    int const actions = m_rows.at(m_caret.row).strip.actions.size();
    m_caret.action = actions == 0 ? -1 : qBound(0, m_caret.action, actions - 1);
}

void NakNotifsScrollArea::moveCaretUp()
{
    setCaret(m_caret.row - 1, m_caret.action);
    ensureItemVisible(m_caret.row);
}

void NakNotifsScrollArea::moveCaretDown()
{
    setCaret(m_caret.row + 1, m_caret.action);
    ensureItemVisible(m_caret.row);
}

void NakNotifsScrollArea::moveCaretSideways(int steps)
{
    setCaret(m_caret.row, m_caret.action + steps);
    ensureItemVisible(m_caret.row);
}

void NakNotifsScrollArea::caretEnter()
{
    activate(m_caret);
}

void NakNotifsScrollArea::caretDelete()
{
    if (m_caret.row >= 0 && m_rows.at(m_caret.row).strip.hasDismiss)
        activate({ m_caret.row, m_rows.at(m_caret.row).strip.actions.size() - 1 });
    ensureItemVisible(m_caret.row);
}

// Whoever hears of it may change the list.
void NakNotifsScrollArea::activate(Spot const& spot)
{
    if (spot.action < 0)
        return;
    Row const& row = m_rows.at(spot.row);
    if (spot.action < row.item->actionsCount())
        emit row.item->actionTriggered(spot.action, this);
    else
        emit row.item->dismissed();
}

// Of a row that is higher than the viewport the top is shown.
void NakNotifsScrollArea::ensureItemVisible(int row)
{
    if (row < 0)
        return;
    QRect const rect = rowRect(row);
    int const tooLow = rect.bottom() + 1 - viewport()->height();
    int const shift = rect.top() < 0 ? rect.top() : std::min(std::max(tooLow, 0), rect.top());
    verticalScrollBar()->setValue(verticalScrollBar()->value() + shift);
}

void NakNotifsScrollArea::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Up:
        moveCaretUp();
        break;
    case Qt::Key_Down:
        moveCaretDown();
        break;
    case Qt::Key_Left:
        moveCaretSideways(-1);
        break;
    case Qt::Key_Right:
        moveCaretSideways(1);
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        caretEnter();
        break;
    case Qt::Key_Delete:
        caretDelete();
        break;
    default:
        QAbstractScrollArea::keyPressEvent(event);
    }
}

void NakNotifsScrollArea::focusInEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusInEvent(event);
    updateStrip(m_caret.row);
}

void NakNotifsScrollArea::focusOutEvent(QFocusEvent* event)
{
    QAbstractScrollArea::focusOutEvent(event);
    updateStrip(m_caret.row);
}
