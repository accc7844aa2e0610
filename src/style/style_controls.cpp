// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "style_controls.h"

#include "nakwire_style.h"
#include "style_paint.h"

#include <QAbstractScrollArea>

#include <algorithm>

using namespace NakStylePaint;

namespace {

// Device-independent pixels.
constexpr int ringWidth = 2;
constexpr int scrollSliderMargin = 3;
constexpr double spinArrowWidth = 6;
constexpr double spinArrowHeight = 3;

// See NakStylePaint::hoverStep.
constexpr double sliderStep = 0.28;
constexpr double sliderActiveStep = 0.45;
constexpr double selectedRingStep = 0.5;

// The ground of what the bar scrolls, which is its own too.
QPalette::ColorRole groundRole(QWidget const* bar)
{
    for (; bar; bar = bar->parentWidget()) {
        if (auto const* area = qobject_cast<QAbstractScrollArea const*>(bar))
            return area->viewport()->backgroundRole();
    }
    return QPalette::Base;
}

void paintSpinArrow(QPainter* painter, QRectF const& button, QColor const& color, bool up)
{
    QPointF const center = button.center();
    double const tip = up ? -spinArrowHeight / 2 : spinArrowHeight / 2;
    QPointF const arrow[] = { center + QPointF(-spinArrowWidth / 2, -tip),
                              center + QPointF(spinArrowWidth / 2, -tip),
                              center + QPointF(0, tip) };
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawConvexPolygon(arrow, 3);
}

} // namespace

// --- buttons, menu bar, focus ---

void NakStylePaint::paintToolButtonPanel(QPainter* painter, QStyleOption const& option)
{
    double step = 0;
    if (option.state.testFlag(QStyle::State_Sunken))
        step = pressedStep;
    else if (option.state.testFlag(QStyle::State_On))
        step = checkedStep;
    else if (option.state.testFlag(QStyle::State_MouseOver))
        step = hoverStep;
    bool const raised = !option.state.testFlag(QStyle::State_AutoRaise);
    if (!option.state.testFlag(QStyle::State_Enabled) && !raised)
        return;
    if (step == 0 && !raised)
        return;
    ScopedPainter const scope(painter);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(stepped(option.palette, raised ? QPalette::Button : QPalette::Window, step));
    painter->drawRoundedRect(option.rect, buttonRadius, buttonRadius);
}

void NakStylePaint::paintFocusRing(QPainter* painter, QStyleOption const& option)
{
    // Focus that a click gave is visible enough where it was clicked.
    if (!option.state.testFlag(QStyle::State_KeyboardFocusChange))
        return;
    ScopedPainter const scope(painter);
    painter->setBrush(Qt::NoBrush);
    QColor const& highlight = option.palette.color(QPalette::Highlight);
    auto const* focus = qstyleoption_cast<QStyleOptionFocusRect const*>(&option);
    if (focus && focus->backgroundColor == highlight) { // a selected row: a hairline within it
        painter->setPen(NakColor::mix(highlight, option.palette.color(QPalette::HighlightedText),
                                      selectedRingStep));
        painter->drawRect(option.rect.adjusted(1, 1, -2, -2));
        return;
    }
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(highlight, ringWidth));
    QRectF const ring = QRectF(option.rect).adjusted(1, 1, -1, -1);
    painter->drawRoundedRect(ring, buttonRadius, buttonRadius);
}

void NakStylePaint::paintPushButtonPanel(QPainter* painter, QStyleOption const& option)
{
    bool const enabled = option.state.testFlag(QStyle::State_Enabled);
    double step = 0;
    if (option.state & (QStyle::State_Sunken | QStyle::State_On))
        step = pressedStep;
    else if (enabled && option.state.testFlag(QStyle::State_MouseOver))
        step = hoverStep;
    auto const* button = qstyleoption_cast<QStyleOptionButton const*>(&option);
    bool const isDefault = button && button->features.testFlag(QStyleOptionButton::DefaultButton);
    ScopedPainter const scope(painter);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setBrush(stepped(option.palette, QPalette::Button, step));
    painter->setPen(isDefault && enabled ? option.palette.color(QPalette::Highlight)
                                         : NakwireStyle::lineColor(option.palette));
    painter->drawRoundedRect(QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5), buttonRadius,
                             buttonRadius);
    if (option.state.testFlag(QStyle::State_HasFocus))
        paintFocusRing(painter, option);
}

// Fusion's outline vanishes on a dark ground.
void NakStylePaint::paintCheckBox(QPainter* painter, QStyleOption const& option)
{
    bool const enabled = option.state.testFlag(QStyle::State_Enabled);
    QPalette const& palette = option.palette;
    QRectF const box = QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5);
    ScopedPainter const scope(painter);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(stepped(palette, QPalette::Window, enabled ? sliderActiveStep : sliderStep));
    painter->setBrush(stepped(palette, QPalette::Base,
                              option.state.testFlag(QStyle::State_Sunken) ? pressedStep : 0));
    painter->drawRoundedRect(box, 2, 2);

    auto const at = [&box](double x, double y) {
        return box.topLeft() + QPointF(x * box.width(), y * box.height());
    };
    painter->setPen(QPen(palette.color(QPalette::Text), 1.8, Qt::SolidLine, Qt::RoundCap));
    if (option.state.testFlag(QStyle::State_On)) {
        QPointF const tick[] = { at(0.24, 0.52), at(0.43, 0.72), at(0.77, 0.28) };
        painter->setBrush(Qt::NoBrush);
        painter->drawPolyline(tick, 3);
    } else if (option.state.testFlag(QStyle::State_NoChange)) {
        painter->drawLine(at(0.28, 0.5), at(0.72, 0.5));
    }
}

void NakStylePaint::paintMenuBarItem(QStyle const& style, QPainter* painter,
                                     QStyleOptionMenuItem const& item)
{
    bool const enabled = item.state.testFlag(QStyle::State_Enabled);
    bool const open = item.state.testFlag(QStyle::State_Sunken);
    bool const hovered = item.state.testFlag(QStyle::State_Selected);
    double const step = open ? checkedStep : hovered ? hoverStep : 0;
    painter->fillRect(item.rect, stepped(item.palette, QPalette::Window, enabled ? step : 0));
    int flags = Qt::AlignCenter | Qt::TextSingleLine | Qt::TextDontClip;
    flags |= style.styleHint(QStyle::SH_UnderlineShortcut, &item) ? Qt::TextShowMnemonic
                                                                  : Qt::TextHideMnemonic;
    style.drawItemText(painter, item.rect, flags, item.palette, enabled, item.text,
                       QPalette::WindowText);
}

// A field with two arrows in it; Fusion's arrows stand on a raised strip that looks alike whether
// they can be used or not.
void NakStylePaint::paintSpinBox(QStyle const& style, QPainter* painter,
                                 QStyleOptionSpinBox const& box, QWidget const* widget)
{
    ScopedPainter const scope(painter);
    QStyleOptionFrame field;
    field.QStyleOption::operator=(box);
    field.lineWidth = box.frame ? style.pixelMetric(QStyle::PM_DefaultFrameWidth, &box, widget) : 0;
    style.drawPrimitive(QStyle::PE_PanelLineEdit, &field, painter);
    painter->setRenderHint(QPainter::Antialiasing);
    for (bool const up : { true, false }) {
        auto const part = up ? QStyle::SC_SpinBoxUp : QStyle::SC_SpinBoxDown;
        bool const usable = box.state.testFlag(QStyle::State_Enabled)
            && box.stepEnabled.testFlag(up ? QAbstractSpinBox::StepUpEnabled
                                           : QAbstractSpinBox::StepDownEnabled);
        QRect const button = style.subControlRect(QStyle::CC_SpinBox, &box, part, widget);
        if (usable && box.activeSubControls == part
            && (box.state & (QStyle::State_MouseOver | QStyle::State_Sunken)))
            painter->fillRect(
                button,
                stepped(box.palette, QPalette::Base,
                        box.state.testFlag(QStyle::State_Sunken) ? pressedStep : hoverStep));
        paintSpinArrow(
            painter, button,
            box.palette.color(usable ? QPalette::Active : QPalette::Disabled, QPalette::Text), up);
    }
}

// --- scroll bars ---

QRect NakStylePaint::scrollSliderRect(QStyleOptionSlider const& bar, int sliderMin)
{
    bool const horizontal = bar.orientation == Qt::Horizontal;
    int const length = horizontal ? bar.rect.width() : bar.rect.height();
    qint64 const range = qint64(bar.maximum) - bar.minimum;
    int slider = length;
    int start = 0;
    if (range > 0) {
        qint64 const page = std::max(bar.pageStep, 0);
        slider = static_cast<int>(length * page / (range + page));
        slider = std::clamp(slider, std::min(sliderMin, length), length);
        qint64 const at = std::clamp(qint64(bar.sliderPosition) - bar.minimum, qint64(0), range);
        start = static_cast<int>((bar.upsideDown ? range - at : at) * (length - slider) / range);
    }
    return horizontal ? QRect(bar.rect.x() + start, bar.rect.y(), slider, bar.rect.height())
                      : QRect(bar.rect.x(), bar.rect.y() + start, bar.rect.width(), slider);
}

void NakStylePaint::paintScrollBar(QStyle const& style, QPainter* painter,
                                   QStyleOptionSlider const& bar, QWidget const* widget)
{
    QPalette::ColorRole const ground = groundRole(widget);
    painter->fillRect(bar.rect, bar.palette.color(ground));
    if (bar.maximum <= bar.minimum || !bar.state.testFlag(QStyle::State_Enabled))
        return;
    bool const grabbed = bar.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider)
        && (bar.state & (QStyle::State_MouseOver | QStyle::State_Sunken));
    QRect const slider =
        style.subControlRect(QStyle::CC_ScrollBar, &bar, QStyle::SC_ScrollBarSlider, widget);
    painter->fillRect(slider.adjusted(scrollSliderMargin, scrollSliderMargin, -scrollSliderMargin,
                                      -scrollSliderMargin),
                      stepped(bar.palette, ground, grabbed ? sliderActiveStep : sliderStep));
}
