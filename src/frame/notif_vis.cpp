// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "notif_vis.h"

NakNotifVisContainerInterface::~NakNotifVisContainerInterface() = default;

NakNotifVis::NakNotifVis(NakNotif::VisCtorParams const& params)
    : QObject(params.parent)
    , m_container(params.container)
{
}

NakNotifVis::~NakNotifVis() = default;

void NakNotifVis::mouseButtonPress(QPoint const&, QMouseEvent const*) { }

void NakNotifVis::mouseButtonRelease(QPoint const&, QMouseEvent const*) { }

void NakNotifVis::mouseMove(QPoint const&) { }

void NakNotifVis::setHeight(int height)
{
    if (m_height == height)
        return;
    m_height = height;
    if (m_containerReady)
        m_container->heightChanged(this);
}

QRect NakNotifVis::rect() const
{
    return { 0, 0, m_width, m_height };
}

void NakNotifVis::invalidate(QRect const& rect)
{
    if (m_containerReady)
        m_container->rectDirtied(this, rect);
}

QWidget* NakNotifVis::containingWidget() const
{
    return m_container->containingWidget(this);
}

QStyle* NakNotifVis::style() const
{
    return m_container->style();
}

void NakNotifVis::setWidthInContainer(int width)
{
    m_width = width;
    widthInContainerChanged();
}
