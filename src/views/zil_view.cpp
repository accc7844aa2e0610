// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "zil_view.h"

#include <QChildEvent>
#include <QCoreApplication>
#include <QLayout>
#include <QPointer>

#include <algorithm>

namespace {

// Two layouts closer together than this are one for the eye, in milliseconds.
constexpr int layoutIntervalMSecs = 51;
// A layout may need the result of the one around it, and that of the next; no more than that.
constexpr int maxSettleRounds = 4;
// Where a widget is measured: so high above the view that no pixel of it needs paint.
constexpr int unseenTop = -1000000;

bool activateLayouts(QWidget* widget)
{
    bool redone = false;
    for (QObject* child : widget->children()) {
        if (child->isWidgetType()) {
            redone |= activateLayouts(static_cast<QWidget*>(child));
        }
    }
    if (QLayout* layout = widget->layout()) {
        redone |= layout->activate();
    }
    return redone;
}

// An inner layout tells the outer one of a change by a posted event. What is measured now cannot
// wait for these.
void settleLayouts(QWidget* widget)
{
    for (int round = 0; round < maxSettleRounds && activateLayouts(widget); ++round) { }
}

int heightAtWidth(QWidget const* widget, int width)
{
    if (QLayout* layout = widget->layout()) {
        if (layout->hasHeightForWidth()) {
            return layout->totalHeightForWidth(width);
        }
    } else if (widget->hasHeightForWidth()) {
        return widget->heightForWidth(width);
    }
    return widget->sizeHint().height();
}

template <typename Items> bool contains(Items const& items, QWidget const* widget)
{
    return std::any_of(items.begin(), items.end(),
                       [widget](ZilViewItem const& item) { return item.widget == widget; });
}

bool sameItem(ZilViewItem const& a, ZilViewItem const& b)
{
    return a.widget == b.widget && a.top == b.top && a.height == b.height;
}

} // namespace

ZilSource::~ZilSource() = default;

ZilView::ZilView(ZilSource* source, QWidget* parent)
    : QWidget(parent)
    , m_source(source)
{
    // An opaque ground is also what lets Qt copy pixels when the view scrolls.
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
}

ZilView::~ZilView() = default;

QWidget* ZilView::origin() const
{
    return m_anchor < 0 ? nullptr : m_items[m_anchor].widget;
}

int ZilView::offset() const
{
    return m_anchor < 0 ? 0 : m_items[m_anchor].top;
}

int ZilView::count() const
{
    return m_items.size();
}

ZilViewItem ZilView::itemAt(int index) const
{
    return m_items.value(index);
}

void ZilView::items(QVector<ZilViewItem>& out) const
{
    out = m_items;
}

void ZilView::clear()
{
    if (m_adapting) {
        return;
    }
    m_adapting = true;
    Run const shown(m_items.cbegin(), m_items.cend());
    keep(Run());
    releaseLeft(shown);
    m_adapting = false;
}

void ZilView::adaptOffset(QWidget* widget, int offset)
{
    adapt(widget, 0.0, offset);
}

void ZilView::adaptPivot(QWidget* widget, double itemFraction, double viewFraction)
{
    adapt(widget, itemFraction, viewFraction * height());
}

// The point at itemFraction of the widget's height comes to viewPosition, in view coordinates.
void ZilView::adapt(QWidget* widget, double itemFraction, double viewPosition)
{
    if (widget == nullptr) {
        clear();
        return;
    }
    if (m_adapting) {
        return; // the source or a widget asks while it is being asked
    }
    ++m_layoutLocks; // what the widgets request during the pass must not start another one
    m_adapting = true;

    int const height = measure(widget);
    Run run;
    run.append({ widget, qRound(viewPosition - itemFraction * height), height });
    fillView(run);
    Run const cropped = cropToView(run);
    bool const changed =
        !std::equal(run.begin(), run.end(), m_items.cbegin(), m_items.cend(), sameItem);
    Run left = cropped;
    for (ZilViewItem const& item : qAsConst(m_items)) {
        if (!contains(run, item.widget) && !contains(cropped, item.widget)) {
            left.append(item);
        }
    }
    place(run);
    keep(run);
    releaseLeft(left);
    // The pass has measured every widget, so what these asked for meanwhile is done.
    QCoreApplication::removePostedEvents(this, QEvent::LayoutRequest);

    m_adapting = false;
    QMetaObject::invokeMethod(this, &ZilView::allowLayouts, Qt::QueuedConnection);
    if (changed) {
        emitLayoutChanged();
    }
}

int ZilView::measure(QWidget* widget)
{
    bool const fresh = widget->parentWidget() != this || widget->isHidden();
    if (fresh) {
        takeIn(widget);
    }
    bool const otherWidth = widget->minimumWidth() != width() || widget->maximumWidth() != width();
    if (otherWidth) {
        widget->setFixedWidth(width());
    }
    if (fresh) {
        widget->show();
    }
    if (fresh || otherWidth) {
        settleLayouts(widget);
    } else if (QLayout* layout = widget->layout()) {
        layout->activate();
    }
    // At least a pixel each, so that an endless sequence of empty widgets still fills the view.
    return std::max(1, heightAtWidth(widget, width()));
}

// It has to be shown to have a true size, but not seen before it has its place.
void ZilView::takeIn(QWidget* widget)
{
    widget->setAttribute(Qt::WA_DontShowOnScreen);
    widget->setParent(this);
    widget->move(0, unseenTop);
}

// Adds what comes before the run until it begins at limit or above, or the sequence ends.
void ZilView::growUp(Run& run, int limit)
{
    while (run.first().top > limit) {
        QWidget* widget = m_source->earlier(run.first().widget);
        if (widget == nullptr || contains(run, widget)) {
            return;
        }
        int const height = measure(widget);
        run.insert(run.begin(), { widget, run.first().top - height, height });
    }
}

void ZilView::growDown(Run& run, int limit)
{
    while (run.last().top + run.last().height < limit) {
        QWidget* widget = m_source->later(run.last().widget);
        if (widget == nullptr || contains(run, widget)) {
            return;
        }
        int const height = measure(widget);
        run.append({ widget, run.last().top + run.last().height, height });
    }
}

// Grows the run over the view. A gap at one end means that the sequence ends there: the run slides
// to close it, after it has grown by as much at the other end. A sequence that is shorter than the
// view stays where it was put, but wholly inside.
void ZilView::fillView(Run& run)
{
    int const viewHeight = std::max(1, height());
    growUp(run, 0);
    growDown(run, viewHeight);
    int const topGap = std::max(0, run.first().top);
    int const bottomGap = std::max(0, viewHeight - run.last().top - run.last().height);
    if (topGap > 0 && bottomGap == 0) {
        growDown(run, viewHeight + topGap);
    } else if (bottomGap > 0 && topGap == 0) {
        growUp(run, -bottomGap);
    }
    int const top = run.first().top;
    int const bottom = run.last().top + run.last().height;
    int shift = 0;
    if (bottom - top <= viewHeight) {
        shift = top < 0 ? -top : std::min(0, viewHeight - bottom);
    } else if (top > 0) {
        shift = -top;
    } else if (bottom < viewHeight) {
        shift = viewHeight - bottom;
    }
    for (ZilViewItem& item : run) {
        item.top += shift;
    }
}

// Takes what lies wholly outside the view out of the run and returns it.
ZilView::Run ZilView::cropToView(Run& run) const
{
    int const viewHeight = std::max(1, height());
    Run inside;
    Run outside;
    for (ZilViewItem const& item : run) {
        bool const overlaps = item.top < viewHeight && item.top + item.height > 0;
        (overlaps ? inside : outside).append(item);
    }
    run = inside;
    return outside;
}

// The widgets that stay move by one copy of pixels where they move by the same distance.
void ZilView::place(Run const& run)
{
    if (int const shift = shiftOfMost(run)) {
        scroll(0, shift);
    }
    for (ZilViewItem const& item : run) {
        // First, since Qt marks nothing for paint where an unseen widget moves.
        if (item.widget->testAttribute(Qt::WA_DontShowOnScreen)) {
            item.widget->setAttribute(Qt::WA_DontShowOnScreen, false);
        }
        QRect const rect(0, item.top, width(), item.height);
        if (item.widget->geometry() != rect) {
            item.widget->setGeometry(rect);
        }
    }
}

// How far the widget with the most pixels, of those that stay, moves.
int ZilView::shiftOfMost(Run const& run) const
{
    int shift = 0;
    int mostPixels = 0;
    for (ZilViewItem const& item : run) {
        int const pixels = std::min(item.top + item.height, height()) - std::max(item.top, 0);
        if (pixels <= mostPixels) {
            continue;
        }
        for (ZilViewItem const& old : m_items) {
            if (old.widget == item.widget) {
                shift = item.top - old.top;
                mostPixels = pixels;
            }
        }
    }
    return shift;
}

void ZilView::releaseLeft(Run const& left)
{
    for (ZilViewItem const& item : left) {
        item.widget->setParent(nullptr);
        m_source->released(item.widget);
    }
}

void ZilView::keep(Run const& run)
{
    m_items.clear();
    m_anchor = -1;
    int mostPixels = 0;
    for (ZilViewItem const& item : run) {
        int const pixels =
            std::min(item.top + item.height, std::max(1, height())) - std::max(item.top, 0);
        if (pixels > mostPixels) {
            mostPixels = pixels;
            m_anchor = m_items.size();
        }
        m_items.append(item);
    }
}

bool ZilView::event(QEvent* event)
{
    if (event->type() != QEvent::LayoutRequest) {
        return QWidget::event(event);
    }
    if (m_layoutLocks > 0) {
        ++m_postponedLayouts;
    } else {
        layOutNow();
    }
    event->accept();
    return true;
}

void ZilView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    bool const soon =
        m_sinceLastLayout.isValid() && !m_sinceLastLayout.hasExpired(layoutIntervalMSecs - 1);
    if (m_layoutLocks > 0 && soon) {
        ++m_postponedLayouts;
        return;
    }
    if (m_postponedLayouts > 0) {
        --m_postponedLayouts;
    }
    layOutNow();
}

void ZilView::allowLayouts()
{
    if (m_layoutLocks == 0 || --m_layoutLocks > 0 || m_postponedLayouts == 0) {
        return;
    }
    m_postponedLayouts = 0;
    layOutNow();
}

void ZilView::layOutNow()
{
    m_sinceLastLayout.start();
    emitLayoutChanged();
}

void ZilView::emitLayoutChanged()
{
    if (m_emitting) {
        return;
    }
    QPointer<ZilView> const guard(this);
    m_emitting = true;
    emit layoutChanged();
    if (guard) {
        m_emitting = false;
    }
}

// A source may delete a widget that is shown.
void ZilView::childEvent(QChildEvent* event)
{
    QWidget::childEvent(event);
    if (!event->removed() || m_adapting) {
        return;
    }
    auto const gone =
        std::find_if(m_items.begin(), m_items.end(),
                     [event](ZilViewItem const& item) { return item.widget == event->child(); });
    if (gone != m_items.end()) {
        m_items.erase(gone);
        keep(Run(m_items.cbegin(), m_items.cend()));
    }
}
