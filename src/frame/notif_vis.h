// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The on-screen form of a notification, and what it asks of the list that holds it. A service's
// item makes one for every list on screen; the list owns it. Distances are in device-independent
// pixels, points and rectangles relative to the form's own top left. User-interface thread.

#include <QObject>
#include <QPoint>
#include <QRect>

class NakNotifVis;
class QMouseEvent;
class QPainter;
class QStyle;
class QWidget;

// What holds forms. It hears of a form by these calls only while that is ready.
class NakNotifVisContainerInterface {
public:
    virtual ~NakNotifVisContainerInterface();

    virtual void heightChanged(NakNotifVis* vis) = 0;
    virtual void rectDirtied(NakNotifVis* vis, QRect const& rect) = 0;
    // Gives font, palette and density; never null.
    virtual QWidget* containingWidget(NakNotifVis const* vis) const = 0;
    virtual QStyle* style() const = 0;
};

namespace NakNotif {

// What NakNotifItem::createVis hands on to the form.
struct VisCtorParams {
    QObject* parent = nullptr;
    NakNotifVisContainerInterface* container = nullptr;
};

} // namespace NakNotif

class NakNotifVis : public QObject {
    Q_OBJECT
public:
    explicit NakNotifVis(NakNotif::VisCtorParams const& params);
    ~NakNotifVis() override;

    // The width, or the container's font or palette, may have changed: lay out and call setHeight.
    virtual void widthInContainerChanged() = 0;
    // The painter's origin is the form's top left; only rect needs painting.
    virtual void paint(QPainter& painter, QRect const& rect) = 0;

    virtual void mouseButtonPress(QPoint const& pos, QMouseEvent const* event);
    virtual void mouseButtonRelease(QPoint const& pos, QMouseEvent const* event);
    virtual void mouseMove(QPoint const& pos);

    int height() const { return m_height; }
    void setHeight(int height); // negative ones count as 0 in the list
    QRect rect() const;
    int widthInContainer() const { return m_width; }
    void invalidate(QRect const& rect);

    NakNotifVisContainerInterface* container() const { return m_container; }
    QWidget* containingWidget() const;
    QStyle* style() const;

    // For the container. A form says nothing to it before it is ready.
    void setWidthInContainer(int width);
    void setContainerReady(bool ready) { m_containerReady = ready; }

private:
    NakNotifVisContainerInterface* m_container;
    int m_height = 0;
    int m_width = 0;
    bool m_containerReady = false;
};
