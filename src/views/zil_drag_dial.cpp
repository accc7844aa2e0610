// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zil_drag_dial.h"

#include "global_events.h"
#include "preferences.h"

#include <QContextMenuEvent>
#include <QPainter>
#include <QScreen>
#include <QStyle>

#include <algorithm>
#include <cmath>

namespace {

constexpr double leastMovement = 1e-5;
// More than any screen in one step; keeps the sums far from the limits of int.
constexpr double mostMovement = 1e6;

constexpr int warpMarginPart = 8; // of the screen's width and height
constexpr int mostWarpMargin = 100; // pixels

constexpr int gripPartOfHeight = 3;
constexpr int leastGripHeight = 20;
constexpr int mostGripHeight = 120;
constexpr int minimalGripWidth = 4;
constexpr int minimalGripWidthHot = 8;
constexpr int prominentGripMargin = 2;
constexpr int arrowGap = 4; // between the grip and its arrows
// How much of the foreground is in the grip, of 255.
constexpr int gripStrength = 90;
constexpr int gripStrengthHot = 150;
constexpr int trackStrength = 14;

// To the nearest integer, and up from the middle, where std::round goes away from zero.
int roundHalfUp(double value)
{
    double const below = std::floor(value);
    return static_cast<int>(value - below >= 0.5 ? below + 1.0 : below);
}

QColor mixed(QColor const& ground, QColor const& ink, int strength)
{
    auto const part = [strength](int a, int b) { return a + (b - a) * strength / 255; };
    return QColor(part(ground.red(), ink.red()), part(ground.green(), ink.green()),
                  part(ground.blue(), ink.blue()));
}

// A rectangle with its corner pixels left out: round to the eye, and two fills to the painter.
void fillSoftRect(QPainter& painter, QRect const& rect, QColor const& color)
{
    painter.fillRect(rect.adjusted(1, 0, -1, 0), color);
    painter.fillRect(rect.adjusted(0, 1, 0, -1), color);
}

// An arrow head with its point at tip, one row of pixels at a time; down is 1 or -1.
void fillArrow(QPainter& painter, QPoint const& tip, int size, int down, QColor const& color)
{
    for (int row = 0; row < size; ++row) {
        painter.fillRect(tip.x() - row, tip.y() - down * row, 2 * row + 1, 1, color);
    }
}

} // namespace

ZilDragDial::ZilDragDial(QWidget* parent)
    : QScrollBar(Qt::Vertical, parent)
{
    setRange(0, 0);
    setAttribute(Qt::WA_Hover);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(tr("Scroll by dragging"));
    if (g_globalEvents != nullptr) {
        connect(g_globalEvents, &NakGlobalEvents::preferencesChanged, this,
                &ZilDragDial::preferencesChanged);
    }
    preferencesChanged();
}

ZilDragDial::~ZilDragDial() = default;

void ZilDragDial::preferencesChanged()
{
    if (g_preferences == nullptr) {
        return;
    }
    m_relativeCursorMode = g_preferences->lockMouseWhenScrolling;
    m_invertDrag = g_preferences->invertDragScroll;
    m_invertWheel = g_preferences->invertWheelScroll;
    if (m_highVisibility != g_preferences->highVisibilityChatScrollbar) {
        m_highVisibility = g_preferences->highVisibilityChatScrollbar;
        update();
    }
}

QSize ZilDragDial::sizeHint() const
{
    int const extent = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
    return { extent, extent + leastGripHeight };
}

QSize ZilDragDial::minimumSizeHint() const
{
    return sizeHint();
}

// --- motion ---

void ZilDragDial::applyFloatMovement(double delta)
{
    if (!(std::abs(delta) >= leastMovement)) {
        return;
    }
    delta = std::clamp(delta, -mostMovement, mostMovement);
    emit movedReal(delta);
    m_remainder += delta;
    int const whole = roundHalfUp(m_remainder);
    m_remainder -= whole;
    if (whole != 0) {
        emit movedInt(whole);
    }
}

void ZilDragDial::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_pressed = true;
    m_warping = false;
    m_pressPos = event->globalPos();
    m_lastPos = m_pressPos;
    QRect const available = screen()->availableGeometry();
    int const marginX = std::min(available.width() / warpMarginPart, mostWarpMargin);
    int const marginY = std::min(available.height() / warpMarginPart, mostWarpMargin);
    m_innerRect = available.adjusted(marginX, marginY, -marginX, -marginY);
    setCursor(m_relativeCursorMode ? Qt::BlankCursor : Qt::SizeVerCursor);
    update();
}

void ZilDragDial::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_pressed) {
        return;
    }
    QPoint const pos = event->globalPos();
    // What is still outside was under way before the pointer came back, and is motion.
    if (m_warping && m_innerRect.contains(pos)) {
        m_warping = false;
        m_lastPos = pos;
        return;
    }
    double const delta = (pos.y() - m_lastPos.y()) * m_dragScale;
    m_lastPos = pos;
    if (m_relativeCursorMode && !m_warping) {
        warpIfOutside(pos);
    }
    applyFloatMovement(m_invertDrag ? delta : -delta);
}

// With the hidden cursor a drag can go on for ever: at the edge of the screen the pointer is put
// back, and the move event that this makes is no motion.
void ZilDragDial::warpIfOutside(QPoint const& globalPos)
{
    QPoint target = globalPos;
    if (globalPos.x() < m_innerRect.left() || globalPos.x() > m_innerRect.right()) {
        target.setX(m_innerRect.center().x());
    }
    if (globalPos.y() < m_innerRect.top() || globalPos.y() > m_innerRect.bottom()) {
        target.setY(m_innerRect.center().y());
    }
    if (target != globalPos) {
        m_warping = true;
        QCursor::setPos(screen(), target);
    }
}

void ZilDragDial::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton) {
        endPress();
    }
}

void ZilDragDial::mouseDoubleClickEvent(QMouseEvent* event)
{
    mousePressEvent(event);
}

void ZilDragDial::endPress()
{
    if (!m_pressed) {
        return;
    }
    m_pressed = false;
    m_warping = false;
    m_remainder = 0.0;
    setCursor(Qt::ArrowCursor);
    if (m_relativeCursorMode) {
        QCursor::setPos(screen(), m_pressPos);
    }
    update();
}

void ZilDragDial::hideEvent(QHideEvent* event)
{
    endPress();
    QScrollBar::hideEvent(event);
}

void ZilDragDial::wheelEvent(QWheelEvent* event)
{
    int const units =
        event->pixelDelta().isNull() ? event->angleDelta().y() : event->pixelDelta().y();
    double const delta = units * m_wheelScale;
    event->accept();
    applyFloatMovement(m_invertWheel ? -delta : delta);
}

void ZilDragDial::injectWheelEvent(QWheelEvent* event)
{
    wheelEvent(event);
}

// A scroll bar's menu would offer places to go to, which the dial does not have.
void ZilDragDial::contextMenuEvent(QContextMenuEvent* event)
{
    event->ignore();
}

// --- look ---

bool ZilDragDial::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::HoverEnter:
        setHovered(true);
        return true;
    case QEvent::HoverLeave:
        setHovered(false);
        return true;
    case QEvent::HoverMove: // would ask the style for the part under the pointer
        return true;
    default:
        return QScrollBar::event(event);
    }
}

void ZilDragDial::setHovered(bool hovered)
{
    if (m_hovered != hovered) {
        m_hovered = hovered;
        update();
    }
}

void ZilDragDial::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    if (m_highVisibility) {
        paintAsProminent(painter);
    } else {
        paintAsMinimal(painter);
    }
}

QRect ZilDragDial::gripRect(int gripWidth) const
{
    int const gripHeight =
        std::min(height(), qBound(leastGripHeight, height() / gripPartOfHeight, mostGripHeight));
    return { (width() - gripWidth) / 2, (height() - gripHeight) / 2, gripWidth, gripHeight };
}

void ZilDragDial::paintAsMinimal(QPainter& painter) const
{
    QColor const ground = palette().color(QPalette::Base);
    QColor const ink = palette().color(QPalette::Text);
    painter.fillRect(rect(), ground);
    bool const hot = m_hovered || m_pressed;
    QColor const grip = m_pressed ? palette().color(QPalette::Highlight)
                                  : mixed(ground, ink, hot ? gripStrengthHot : gripStrength);
    fillSoftRect(painter, gripRect(std::min(width(), hot ? minimalGripWidthHot : minimalGripWidth)),
                 grip);
}

void ZilDragDial::paintAsProminent(QPainter& painter) const
{
    QColor const ground = palette().color(QPalette::Window);
    QColor const ink = palette().color(QPalette::WindowText);
    painter.fillRect(rect(), mixed(ground, ink, trackStrength));
    QColor const strong = mixed(ground, ink, m_hovered ? gripStrengthHot : gripStrength);
    QColor const grip = m_pressed ? palette().color(QPalette::Highlight) : strong;
    QRect const rect = gripRect(std::max(1, width() - 2 * prominentGripMargin));
    fillSoftRect(painter, rect, grip);
    int const arrow = rect.width() / 2;
    int const reach = arrowGap + arrow;
    fillArrow(painter, { rect.center().x(), rect.top() - reach }, arrow, -1, strong);
    fillArrow(painter, { rect.center().x(), rect.bottom() + reach }, arrow, 1, strong);
}
