// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The scroll control of a ZilView. It stands where a scroll bar would, but a scroll bar needs the
// height of a history that nobody knows; so the dial has no position and reports motion only.
// User-interface thread only.

#include <QRect>
#include <QScrollBar>

class QPainter;

class ZilDragDial : public QScrollBar {
    Q_OBJECT
public:
    explicit ZilDragDial(QWidget* parent = nullptr);
    ~ZilDragDial() override;

    // Pixels of content per pixel of drag.
    double dragScale() const { return m_dragScale; }
    void setDragScale(double scale) { m_dragScale = scale; }
    // Pixels of content per unit of the wheel's delta; a click of a common wheel is 120 units.
    double wheelScale() const { return m_wheelScale; }
    void setWheelScale(double scale) { m_wheelScale = scale; }

    // For wheel events over the view beside the dial.
    void injectWheelEvent(QWheelEvent* event);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public slots:
    void preferencesChanged();

signals:
    // Pixels; positive motion asks for what is above. movedInt carries the whole pixels.
    void movedReal(double delta);
    void movedInt(int delta);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void applyFloatMovement(double delta);
    void warpIfOutside(QPoint const& globalPos);
    void endPress();
    void setHovered(bool hovered);
    void paintAsMinimal(QPainter& painter) const;
    void paintAsProminent(QPainter& painter) const;
    QRect gripRect(int width) const;

    double m_dragScale = 1.0;
    double m_wheelScale = 1.0;
    double m_remainder = 0.0; // motion not yet told by movedInt
    QPoint m_pressPos; // global, as are all positions here
    QPoint m_lastPos;
    QRect m_innerRect; // of the screen, within the warp margins
    bool m_relativeCursorMode = false;
    bool m_invertDrag = false;
    bool m_invertWheel = false;
    bool m_highVisibility = false;
    bool m_pressed = false;
    bool m_warping = false;
    bool m_hovered = false;
};
