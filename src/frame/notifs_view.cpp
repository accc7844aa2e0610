// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notifs_view.h"

#include "gui_icons.h"
#include "nakwire_style.h"
#include "notif_item.h"
#include "notif_manager.h"
#include "notifs_scroll_area.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int lineWidth = 1; // between the list and the bar below it
constexpr ushort tabGlyph = 61545; // an asterisk, as in the side bar

NakNotifManager* manager()
{
    return NakNotif::g_nakNotifManager;
}

QString statusText(int count)
{
    if (count == 0)
        return QString();
    return count == 1 ? QStringLiteral("1 notification")
                      : QStringLiteral("%1 notifications").arg(count);
}

} // namespace

NakNotifsView::NakNotifsView(QWidget* parent)
    : QWidget(parent)
    , m_list(new NakNotifsScrollArea(this))
    , m_status(new QLabel(this))
    , m_dismissAll(new QPushButton(QStringLiteral("Dismiss All"), this))
    , m_toldCount(manager()->count())
{
    m_status->setTextFormat(Qt::PlainText);
    m_status->setSizePolicy(QSizePolicy::Ignored,
                            QSizePolicy::Preferred); // gives way to the button
    int const margin = fontMetrics().height() / 2;
    auto* const bar = new QHBoxLayout;
    bar->setContentsMargins(margin, margin / 2, margin, margin / 2);
    bar->addWidget(m_status, 1);
    bar->addWidget(m_dismissAll);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(lineWidth);
    layout->addWidget(m_list, 1);
    layout->addLayout(bar);
    setFocusProxy(m_list);
    connect(m_dismissAll, &QPushButton::clicked, manager(), &NakNotifManager::dismissAll);
    connect(manager(), &NakNotifManager::countChanged, this, &NakNotifsView::checkUpdateTabText);
    connect(manager(), &NakNotifManager::countChanged, this, &NakNotifsView::updateBar);
    connect(manager(), &NakNotifManager::itemActionsChanged, this, &NakNotifsView::updateBar);
    updateBar();
}

NakNotifsView::~NakNotifsView() = default;

QString NakNotifsView::tabText()
{
    return m_toldCount == 0 ? QStringLiteral("Notifications")
                            : QStringLiteral("Notifications (%1)").arg(m_toldCount);
}

QIcon NakNotifsView::tabIcon()
{
    return g_guiIcons ? g_guiIcons->iconForCode(QChar(tabGlyph)) : QIcon();
}

NakNavLoc NakNotifsView::tabNavLoc() const
{
    return NakNavLoc::builtin(NakNav::BuiltinView::Type::Notifications);
}

void NakNotifsView::paintEvent(QPaintEvent*)
{
    QRect const list = m_list->geometry();
    QPainter(this).fillRect(list.left(), list.bottom() + 1, list.width(), lineWidth,
                            NakwireStyle::lineColor(palette()));
}

void NakNotifsView::updateBar()
{
    auto const& items = manager()->items();
    m_status->setText(statusText(items.size()));
    bool const any = std::any_of(items.begin(), items.end(),
                                 [](NakNotifItem const* item) { return item->isDismissable(); });
    // Before the button loses its focus to whatever comes next in the window.
    if (!any && window()->focusWidget() == m_dismissAll)
        m_list->setFocus(Qt::OtherFocusReason);
    m_dismissAll->setEnabled(any);
}

void NakNotifsView::checkUpdateTabText()
{
    if (m_toldCount == manager()->count())
        return;
    m_toldCount = manager()->count();
    emit tabDataChanged(NakTabbedDataChangeFlag::Text);
}
