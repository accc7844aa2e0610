// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "nakwire_style.h"

#include "nak_color.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QStyleOption>

#include <algorithm>

namespace {

// Distances in device-independent pixels.
constexpr int tabPadding = 8; // left of the icon, right of the text
constexpr int tabGap = 6; // between icon and text, text and close button
constexpr int tabAccent = 2; // the line on top of the current tab
constexpr int buttonRadius = 3;
constexpr int ringWidth = 2;
constexpr int scrollBarExtent = 12;
constexpr int scrollSliderMargin = 3;

// How far a thing steps from its ground towards the text, from 0 to 1.
constexpr double hoverStep = 0.10;
constexpr double checkedStep = 0.16;
constexpr double pressedStep = 0.22;
constexpr double sliderStep = 0.28;
constexpr double sliderActiveStep = 0.45;
constexpr double placeholderStep = 0.55;
constexpr int menuLightenBy = 108; // percent, as below a menu's items

QColor stepped(QPalette const& palette, QPalette::ColorRole ground, double step)
{
    return NakColor::mix(palette.color(ground), palette.color(QPalette::WindowText), step);
}

// By as much as NakColor::adjustLightness, but a faint tint stays faint.
QColor shaded(QColor const& color, double delta)
{
    double const from = color.lightnessF();
    double const to = NakColor::adjustLightness(color, delta).lightnessF();
    if (to < from)
        return NakColor::mix(color, Qt::black, 1 - to / from);
    return from < 1 ? NakColor::mix(color, Qt::white, (to - from) / (1 - from)) : color;
}

class ScopedPainter {
public:
    explicit ScopedPainter(QPainter* painter)
        : m_painter(painter)
    {
        painter->save();
    }
    ~ScopedPainter() { m_painter->restore(); }
    ScopedPainter(ScopedPainter const&) = delete;
    ScopedPainter& operator=(ScopedPainter const&) = delete;

private:
    QPainter* m_painter;
};

// --- tabs: one layout for painting, eliding and the close button ---

struct TabLayout {
    QRect icon;
    QRect text;
};

TabLayout layoutTab(QStyleOptionTab const& tab)
{
    bool const current = tab.state.testFlag(QStyle::State_Selected);
    bool const showsClose =
        !tab.rightButtonSize.isEmpty() && NakwireStyle::tabShowsClose(tab.rect.width(), current);
    QRect room = tab.rect.adjusted(tabPadding, 0, -tabPadding, 0);
    if (showsClose) // it stands half the padding off the edge
        room.setRight(room.right() + tabPadding / 2 - tab.rightButtonSize.width() - tabGap);

    TabLayout layout;
    if (!tab.icon.isNull()) {
        QSize const size = tab.iconSize.boundedTo(tab.rect.size());
        int const top = tab.rect.top() + (tab.rect.height() - size.height()) / 2;
        layout.icon = QRect(QPoint(room.left(), top), size);
        room.setLeft(layout.icon.right() + 1 + tabGap);
        // Too narrow for any text.
        if (room.width() < tabPadding) {
            room.setWidth(0);
            if (!showsClose)
                layout.icon.moveCenter({ tab.rect.center().x(), layout.icon.center().y() });
        }
    }
    layout.text = room;
    return layout;
}

void paintTabShape(QPainter* painter, QStyleOptionTab const& tab)
{
    bool const selected = tab.state.testFlag(QStyle::State_Selected);
    QColor const strip = NakwireStyle::tabStripColor(tab.palette);
    QColor const window = tab.palette.color(QPalette::Window);
    if (selected) {
        painter->fillRect(tab.rect, window);
        painter->fillRect(tab.rect.x(), tab.rect.y(), tab.rect.width(), tabAccent,
                          tab.palette.color(QPalette::Highlight));
        return;
    }
    bool const hovered = tab.state.testFlag(QStyle::State_MouseOver);
    painter->fillRect(tab.rect, hovered ? NakColor::mix(strip, window, 0.6) : strip);
    // Between two tabs that are both in the background.
    bool const last = tab.position == QStyleOptionTab::End
        || tab.position == QStyleOptionTab::OnlyOneTab
        || tab.selectedPosition == QStyleOptionTab::NextIsSelected;
    if (!last) {
        int const inset = tab.rect.height() / 4;
        painter->fillRect(tab.rect.right(), tab.rect.y() + inset, 1, tab.rect.height() - 2 * inset,
                          NakwireStyle::lineColor(tab.palette));
    }
}

void paintTabLabel(QStyle const& style, QPainter* painter, QStyleOptionTab const& tab,
                   QWidget const* widget)
{
    TabLayout const layout = layoutTab(tab);
    bool const enabled = tab.state.testFlag(QStyle::State_Enabled);
    if (!layout.icon.isNull())
        tab.icon.paint(painter, layout.icon, Qt::AlignCenter,
                       enabled ? QIcon::Normal : QIcon::Disabled);
    style.drawItemText(painter, layout.text,
                       Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic, tab.palette,
                       enabled, tab.text, QPalette::WindowText);
    if (tab.state.testFlag(QStyle::State_HasFocus)) {
        QStyleOptionFocusRect ring;
        static_cast<QStyleOption&>(ring) = tab;
        ring.rect = tab.rect.adjusted(1, tabAccent + 1, -1, -1);
        style.drawPrimitive(QStyle::PE_FrameFocusRect, &ring, painter, widget);
    }
}

void paintTabClose(QPainter* painter, QStyleOption const& option)
{
    ScopedPainter const scope(painter);
    painter->setRenderHint(QPainter::Antialiasing);
    bool const hovered = option.state.testFlag(QStyle::State_MouseOver)
        && option.state.testFlag(QStyle::State_Enabled);
    if (hovered) {
        bool const sunken = option.state.testFlag(QStyle::State_Sunken);
        painter->setPen(Qt::NoPen);
        painter->setBrush(
            stepped(option.palette, QPalette::Window, sunken ? pressedStep : checkedStep));
        painter->drawRoundedRect(option.rect, buttonRadius, buttonRadius);
    }
    double const step = hovered ? 1.0 : 0.6;
    painter->setPen(
        QPen(stepped(option.palette, QPalette::Window, step), 1.3, Qt::SolidLine, Qt::RoundCap));
    QPointF const center = QRectF(option.rect).center();
    constexpr double arm = 3.5;
    painter->drawLine(center + QPointF(-arm, -arm), center + QPointF(arm, arm));
    painter->drawLine(center + QPointF(-arm, arm), center + QPointF(arm, -arm));
}

// --- buttons, menu bar, focus ---

void paintToolButtonPanel(QPainter* painter, QStyleOption const& option)
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

void paintFocusRing(QPainter* painter, QStyleOption const& option)
{
    // Focus that a click gave is visible enough where it was clicked.
    if (!option.state.testFlag(QStyle::State_KeyboardFocusChange))
        return;
    ScopedPainter const scope(painter);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setBrush(Qt::NoBrush);
    auto const* focus = qstyleoption_cast<QStyleOptionFocusRect const*>(&option);
    bool const onHighlight =
        focus && focus->backgroundColor == option.palette.color(QPalette::Highlight);
    QPalette::ColorRole const role = onHighlight ? QPalette::HighlightedText : QPalette::Highlight;
    painter->setPen(QPen(option.palette.color(role), ringWidth));
    QRectF const ring = QRectF(option.rect).adjusted(1, 1, -1, -1);
    painter->drawRoundedRect(ring, buttonRadius, buttonRadius);
}

void paintPushButtonPanel(QPainter* painter, QStyleOption const& option)
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
void paintCheckBox(QPainter* painter, QStyleOption const& option)
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

void paintMenuBarItem(QStyle const& style, QPainter* painter, QStyleOptionMenuItem const& item)
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

// --- scroll bars: a groove and a slider, no buttons ---

QRect scrollSliderRect(QStyleOptionSlider const& bar, int sliderMin)
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

void paintScrollBar(QStyle const& style, QPainter* painter, QStyleOptionSlider const& bar,
                    QWidget const* widget)
{
    painter->fillRect(bar.rect, bar.palette.color(QPalette::Base));
    if (bar.maximum <= bar.minimum || !bar.state.testFlag(QStyle::State_Enabled))
        return;
    bool const grabbed = bar.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider)
        && (bar.state & (QStyle::State_MouseOver | QStyle::State_Sunken));
    QRect const slider =
        style.subControlRect(QStyle::CC_ScrollBar, &bar, QStyle::SC_ScrollBarSlider, widget);
    painter->fillRect(
        slider.adjusted(scrollSliderMargin, scrollSliderMargin, -scrollSliderMargin,
                        -scrollSliderMargin),
        stepped(bar.palette, QPalette::Base, grabbed ? sliderActiveStep : sliderStep));
}

// The arrow of a tool bar or menu bar that has no room for all its items. Qt's own is a picture
// that a search through the icon themes finds, in every window, shown or not.
class ExtensionIconEngine : public QIconEngine {
public:
    void paint(QPainter* painter, QRect const& rect, QIcon::Mode, QIcon::State) override
    {
        ScopedPainter const scope(painter);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(QPen(QApplication::palette().color(QPalette::WindowText), 1.3));
        QPointF const center = QRectF(rect).center();
        double const arm = std::min(rect.width(), rect.height()) / 5.0;
        for (double shift : { -arm, arm }) {
            QPointF const tip = center + QPointF(shift + arm / 2, 0);
            painter->drawLine(tip, tip + QPointF(-arm, -arm));
            painter->drawLine(tip, tip + QPointF(-arm, arm));
        }
    }

    QPixmap pixmap(QSize const& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }

    QIconEngine* clone() const override { return new ExtensionIconEngine; }
};

} // namespace

NakwireStyle::NakwireStyle()
    : QProxyStyle(QStringLiteral("fusion"))
{
}

bool NakwireStyle::tabShowsClose(int tabWidth, bool current)
{
    // Room for an icon and the button, and for a title beside them.
    constexpr int narrowest = tabPadding + 16 + tabGap + 16 + tabPadding / 2;
    constexpr int narrow = 72;
    return tabWidth >= (current ? narrowest : narrow);
}

QColor NakwireStyle::tabStripColor(QPalette const& palette)
{
    // Not by lightness, which makes a faint tint a strong one.
    QColor const& window = palette.color(QPalette::Window);
    return window.darker(window.lightness() > 126 ? 105 : 125);
}

QColor NakwireStyle::lineColor(QPalette const& palette)
{
    return stepped(palette, QPalette::Window, 0.18);
}

void NakwireStyle::polish(QPalette& palette)
{
    QColor const button = palette.color(QPalette::Active, QPalette::Button);
    palette.setColor(QPalette::Light, shaded(button, 0.06));
    palette.setColor(QPalette::Midlight, shaded(button, 0.03));
    palette.setColor(QPalette::Mid, shaded(button, -0.06));
    palette.setColor(QPalette::Dark, shaded(button, -0.12));

    QColor const base = palette.color(QPalette::Active, QPalette::Base);
    QColor const text = palette.color(QPalette::Active, QPalette::Text);
    // A field that takes no input has no ground of its own.
    palette.setColor(QPalette::Disabled, QPalette::Base,
                     palette.color(QPalette::Active, QPalette::Window));
    palette.setColor(QPalette::PlaceholderText, NakColor::mix(base, text, placeholderStep));
    palette.setColor(QPalette::Link, palette.color(QPalette::Active, QPalette::Highlight));
    palette.setColor(QPalette::LinkVisited, palette.color(QPalette::Active, QPalette::Highlight));
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
}

void NakwireStyle::polish(QWidget* widget)
{
    QProxyStyle::polish(widget);
    if (widget->inherits("QTipLabel"))
        widget->setPalette(QApplication::palette());
    // Ours fill their whole rectangle; else a scrolled view paints its own ground and frame below.
    if (widget->inherits("QScrollBar"))
        widget->setAttribute(Qt::WA_OpaquePaintEvent);
}

void NakwireStyle::drawPrimitive(PrimitiveElement element, QStyleOption const* option,
                                 QPainter* painter, QWidget const* widget) const
{
    switch (element) {
    case PE_FrameFocusRect:
        paintFocusRing(painter, *option);
        return;
    case PE_PanelButtonTool:
        paintToolButtonPanel(painter, *option);
        return;
    case PE_IndicatorCheckBox:
        paintCheckBox(painter, *option);
        return;
    case PE_PanelButtonCommand:
        paintPushButtonPanel(painter, *option);
        return;
    case PE_IndicatorTabClose:
        paintTabClose(painter, *option);
        return;
    case PE_PanelTipLabel:
        painter->fillRect(option->rect, lineColor(option->palette));
        painter->fillRect(option->rect.adjusted(1, 1, -1, -1),
                          option->palette.color(QPalette::ToolTipBase));
        return;
    case PE_IndicatorBranch: {
        // Fusion's arrow has the colour of the window's text, which vanishes on a selected row.
        QStyleOption branch(*option);
        if (branch.state.testFlag(State_Selected))
            branch.palette.setColor(QPalette::WindowText,
                                    option->palette.color(QPalette::HighlightedText));
        QProxyStyle::drawPrimitive(element, &branch, painter, widget);
        return;
    }
    case PE_PanelMenu: // Qt's line is darker than the ground, which nobody sees in a dark theme
        painter->fillRect(option->rect, lineColor(option->palette));
        painter->fillRect(option->rect.adjusted(1, 1, -1, -1),
                          option->palette.color(QPalette::Base).lighter(menuLightenBy));
        return;
    case PE_FrameTabWidget:
    case PE_FrameTabBarBase:
    case PE_FrameStatusBarItem:
    case PE_PanelMenuBar:
    case PE_FrameDefaultButton: // part of the button's panel
        return;
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void NakwireStyle::drawControl(ControlElement element, QStyleOption const* option,
                               QPainter* painter, QWidget const* widget) const
{
    switch (element) {
    case CE_TabBarTabShape:
        if (auto const* tab = qstyleoption_cast<QStyleOptionTab const*>(option))
            paintTabShape(painter, *tab);
        return;
    case CE_TabBarTabLabel:
        if (auto const* tab = qstyleoption_cast<QStyleOptionTab const*>(option))
            paintTabLabel(*this, painter, *tab, widget);
        return;
    case CE_MenuBarItem:
        if (auto const* item = qstyleoption_cast<QStyleOptionMenuItem const*>(option))
            paintMenuBarItem(*this, painter, *item);
        return;
    case CE_ToolBar:
    case CE_MenuBarEmptyArea:
        painter->fillRect(option->rect, option->palette.color(QPalette::Window));
        return;
    case CE_Splitter:
        painter->fillRect(option->rect, lineColor(option->palette));
        return;
    default:
        QProxyStyle::drawControl(element, option, painter, widget);
    }
}

void NakwireStyle::drawComplexControl(ComplexControl control, QStyleOptionComplex const* option,
                                      QPainter* painter, QWidget const* widget) const
{
    if (control == CC_ScrollBar) {
        if (auto const* bar = qstyleoption_cast<QStyleOptionSlider const*>(option))
            paintScrollBar(*this, painter, *bar, widget);
        return;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect NakwireStyle::subControlRect(ComplexControl control, QStyleOptionComplex const* option,
                                   SubControl subControl, QWidget const* widget) const
{
    auto const* bar = qstyleoption_cast<QStyleOptionSlider const*>(option);
    if (control != CC_ScrollBar || !bar)
        return QProxyStyle::subControlRect(control, option, subControl, widget);

    QRect const slider = scrollSliderRect(*bar, pixelMetric(PM_ScrollBarSliderMin, option, widget));
    bool const horizontal = bar->orientation == Qt::Horizontal;
    QRect page = bar->rect;
    switch (subControl) {
    case SC_ScrollBarGroove:
        return page;
    case SC_ScrollBarSlider:
        return slider;
    case SC_ScrollBarSubPage:
        horizontal ? page.setRight(slider.left() - 1) : page.setBottom(slider.top() - 1);
        return page;
    case SC_ScrollBarAddPage:
        horizontal ? page.setLeft(slider.right() + 1) : page.setTop(slider.bottom() + 1);
        return page;
    default:
        return {};
    }
}

QRect NakwireStyle::subElementRect(SubElement element, QStyleOption const* option,
                                   QWidget const* widget) const
{
    if (element == SE_TabBarTabText) {
        if (auto const* tab = qstyleoption_cast<QStyleOptionTab const*>(option))
            return layoutTab(*tab).text;
    }
    return QProxyStyle::subElementRect(element, option, widget);
}

int NakwireStyle::pixelMetric(PixelMetric metric, QStyleOption const* option,
                              QWidget const* widget) const
{
    switch (metric) {
    case PM_SplitterWidth:
        return 1;
    case PM_ScrollBarExtent:
        return scrollBarExtent;
    case PM_ScrollBarSliderMin:
        return 24;
    case PM_ToolBarIconSize:
    case PM_SmallIconSize:
    case PM_TabBarIconSize:
    case PM_TabCloseIndicatorWidth:
    case PM_TabCloseIndicatorHeight:
        return 16;
    case PM_TabBarTabHSpace:
        return 2 * tabPadding;
    case PM_MenuBarHMargin:
    case PM_MenuBarVMargin:
    case PM_MenuBarPanelWidth:
    case PM_ToolBarFrameWidth:
    case PM_ToolBarItemSpacing:
    case PM_TabBarTabShiftVertical:
    case PM_TabBarTabShiftHorizontal:
    case PM_TabBarTabOverlap:
    case PM_TabBarBaseOverlap:
    case PM_TabBarBaseHeight:
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical:
        return 0;
    case PM_ToolBarItemMargin:
        return 2;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int NakwireStyle::styleHint(StyleHint hint, QStyleOption const* option, QWidget const* widget,
                            QStyleHintReturn* returnData) const
{
    switch (hint) {
    case SH_EtchDisabledText:
    case SH_DitherDisabledText:
    case SH_Widget_Animation_Duration:
    case SH_TabBar_Alignment: // left
    case SH_DialogButtonBox_ButtonsHaveIcons:
        return 0;
    case SH_TabBar_ElideMode:
        return Qt::ElideRight;
    case SH_TabBar_CloseButtonPosition:
        return 1; // right
    case SH_ScrollBar_Transient:
        return 0;
    default:
        return QProxyStyle::styleHint(hint, option, widget, returnData);
    }
}

QIcon NakwireStyle::standardIcon(StandardPixmap standardIcon, QStyleOption const* option,
                                 QWidget const* widget) const
{
    if (standardIcon == SP_ToolBarHorizontalExtensionButton)
        return QIcon(new ExtensionIconEngine);
    return QProxyStyle::standardIcon(standardIcon, option, widget);
}
