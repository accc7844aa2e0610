// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A sequence of widgets, one per number, for the tests of ZilView. It pools what comes back.

#include "zil_view.h"

#include <QMap>
#include <QPaintEvent>
#include <QPainter>
#include <QVector>
#include <QWidget>

#include <functional>

class NumberWidget : public QWidget {
public:
    int number = -1;
    int wanted = 0; // height
    QRegion painted;

    QSize sizeHint() const override { return { 10, wanted }; }

    QColor color() const { return QColor::fromHsv(number * 37 % 360, 200, 200); }

protected:
    void paintEvent(QPaintEvent* event) override
    {
        painted += event->region();
        QPainter(this).fillRect(rect(), color());
    }
};

class NumberSource : public ZilSource {
public:
    explicit NumberSource(QVector<int> const& heightsOfNumbers)
        : heights(heightsOfNumbers)
    {
    }

    ~NumberSource() override
    {
        qDeleteAll(pool);
        qDeleteAll(lent); // the test's view goes first, and takes its widgets along
    }

    QWidget* earlier(QWidget* w) override { return neighbour(w, -1, heights.size() - 1); }
    QWidget* later(QWidget* w) override { return neighbour(w, 1, 0); }

    void released(QWidget* w) override
    {
        auto* const widget = static_cast<NumberWidget*>(w);
        if (w->parentWidget() != nullptr || lent.take(widget->number) != widget) {
            ++faults;
        }
        pool.append(widget);
    }

    NumberWidget* widgetOf(int number)
    {
        if (NumberWidget* const shown = lent.value(number)) {
            return shown;
        }
        NumberWidget* const widget = pool.isEmpty() ? make() : pool.takeLast();
        widget->number = number;
        widget->wanted = heights[number];
        lent.insert(number, widget);
        return widget;
    }

    QVector<int> heights;
    QMap<int, NumberWidget*> lent;
    QVector<NumberWidget*> pool;
    int made = 0;
    int faults = 0;

    std::function<void(NumberWidget*)> fill; // of one that is new

private:
    NumberWidget* make()
    {
        auto* const widget = new NumberWidget;
        ++made;
        if (fill)
            fill(widget);
        return widget;
    }
    QWidget* neighbour(QWidget* w, int step, int first)
    {
        int const number = w == nullptr ? first : static_cast<NumberWidget*>(w)->number + step;
        return number < 0 || number >= heights.size() ? nullptr : widgetOf(number);
    }
};
