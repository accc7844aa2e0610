// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "chat_splitter.h"

#include "nakwire_style.h"

#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

namespace {

constexpr int minSideBarWidth = 80; // less draws it shut
constexpr int minTabsWidth = 160; // a tab can be told and closed

} // namespace

NakChatSplitterHandle::NakChatSplitterHandle(Qt::Orientation orientation, QSplitter* parent)
    : QSplitterHandle(orientation, parent)
{
}

// The toolkit makes so thin a handle wider for the pointer, beyond the contents' rectangle.
void NakChatSplitterHandle::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(contentsRect(), NakwireStyle::lineColor(palette()));
}

NakChatSplitter::NakChatSplitter(QWidget* parent)
    : QSplitter(Qt::Horizontal, parent)
{
    setHandleWidth(1);
}

void NakChatSplitter::setWidgets(QWidget* sideBar, QWidget* tabs)
{
    addWidget(sideBar);
    addWidget(tabs);
    tabs->setMinimumWidth(minTabsWidth);
    setStretchFactor(0, 0);
    setStretchFactor(1, 1);
    setCollapsible(0, true);
    setCollapsible(1, false);
}

int NakChatSplitter::sideBarWidth() const
{
    return sizes().value(0);
}

void NakChatSplitter::setSideBarWidth(int width)
{
    QList<int> const now = sizes();
    int const room = std::max(now.value(0) + now.value(1), this->width() - handleWidth());
    setSizes({ width, std::max(room - width, 0) });
}

QSplitterHandle* NakChatSplitter::createHandle()
{
    return new NakChatSplitterHandle(orientation(), this);
}

TrickyFrame::TrickyFrame(QWidget* parent)
    : QFrame(parent)
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

void TrickyFrame::setContent(QWidget* content)
{
    layout()->addWidget(content);
}

QSize TrickyFrame::minimumSizeHint() const
{
    return { minSideBarWidth, 0 };
}
