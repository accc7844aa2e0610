// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "bottom_bar.h"

#include "conn_status_label.h"
#include "nakwire_style.h"
#include "own_user_status_button.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>

BottomBar::BottomBar(QWidget* statusWidget, QWidget* parent)
    : QWidget(parent)
    , m_ownStatus(new NakOwnUserStatusButton(this))
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 1, 8, 0);
    layout->setSpacing(8);
    layout->addWidget(m_ownStatus);
    layout->addWidget(statusWidget, 1);
    layout->addWidget(new NakConnStatusLabel(this));
    fitHeight();
}

void BottomBar::fitHeight()
{
    setFixedHeight(fontMetrics().height() + 7);
}

void BottomBar::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        fitHeight();
}

void BottomBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(0, 0, width(), 1, NakwireStyle::lineColor(palette()));
}
