// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "inner_tab_widget.h"

#include "empty_hint.h"
#include "gui_icons.h"
#include "nakwire_style.h"
#include "shell_icons.h"
#include "tab_bar.h"

#include <QPainter>
#include <QToolButton>

namespace {

// As high as the bar, and square.
class NewTabButton : public QToolButton {
public:
    explicit NewTabButton(QWidget const* bar)
        : m_bar(bar)
    {
        setAutoRaise(true);
        setText(QStringLiteral("New Tab"));
        setToolTip(text());
        setIcon(NakShell::icon(NakShell::newTabGlyph));
    }

    QSize sizeHint() const override
    {
        int const extent = m_bar->sizeHint().height();
        return { extent, extent };
    }

private:
    QWidget const* m_bar;
};

} // namespace

NakTabWidgetImpl::InnerTabWidget::InnerTabWidget(QWidget* parent)
    : QTabWidget(parent)
    , m_bar(new NakTabBar)
    , m_newTab(new NewTabButton(m_bar))
{
    setTabBar(m_bar);
    setDocumentMode(true);

    setCornerWidget(m_newTab, Qt::TopRightCorner);
}

void NakTabWidgetImpl::InnerTabWidget::paintEvent(QPaintEvent* event)
{
    QTabWidget::paintEvent(event);
    if (qobject_cast<NakwireStyle const*>(style())) {
        QPainter painter(this);
        painter.fillRect(0, 0, width(), m_bar->sizeHint().height(),
                         NakwireStyle::tabStripColor(palette()));
    }
    if (count() == 0) {
        paintEmptyHint(this,
                       { QStringLiteral("No tab is open"),
                         QStringLiteral("Ctrl+T opens one, Ctrl+W closes the window") });
    }
}
