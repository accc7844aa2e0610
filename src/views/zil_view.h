// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A window onto an unbounded sequence of widgets of different heights: the message log's scroller.
// It knows only the widgets that overlap it and asks its source for the neighbours of those, so
// neither time nor memory depends on the length of the sequence. User-interface thread only.

#include <QElapsedTimer>
#include <QVarLengthArray>
#include <QVector>
#include <QWidget>

class ZilSource {
public:
    virtual ~ZilSource();

    // The widget that comes before w, or null at the start. With a null w the source chooses.
    // A widget that the view already shows must be the same object each time.
    virtual QWidget* earlier(QWidget* w) = 0;
    virtual QWidget* later(QWidget* w) = 0;
    // The view no longer shows w, which has no parent now; the source may pool or delete it.
    virtual void released(QWidget* w) = 0;
};

struct ZilViewItem {
    QWidget* widget = nullptr;
    int top = 0; // in view coordinates
    int height = 0;
};
Q_DECLARE_TYPEINFO(ZilViewItem, Q_PRIMITIVE_TYPE);

// The view lends its width to the widgets: each is as wide as the view, and as high as its layout's
// heightForWidth() says, or else its own heightForWidth(), or else its size hint.
//
// The view never lays out by itself. It emits layoutChanged() when its size, the height of a widget
// or the shown run changed, and whoever owns the position answers with adaptOffset() or
// adaptPivot(). A call that comes out of the signal that such a call emits does not emit again.
class ZilView : public QWidget {
    Q_OBJECT
public:
    // The source must outlive every call here; the destructor does not call it, and deletes the
    // widgets that are still shown.
    explicit ZilView(ZilSource* source, QWidget* parent = nullptr);
    ~ZilView() override;

    // The anchor: of the shown widgets the one with the most visible pixels. Null while empty.
    QWidget* origin() const;
    int offset() const; // top of the anchor
    int count() const;
    ZilViewItem itemAt(int index) const;
    void items(QVector<ZilViewItem>& out) const;

    // Hands every widget back to the source.
    void clear();
    // Rebuilds the run so that the widget's top is at offset, as far as the sequence's ends allow:
    // no gap stays before the first or after the last widget while others could fill it. A null
    // widget clears.
    void adaptOffset(QWidget* widget, int offset);
    // Puts the point at itemFraction of the widget's height on the point at viewFraction of the
    // view's. 1.0 and 1.0 follow the newest message.
    void adaptPivot(QWidget* widget, double itemFraction, double viewFraction);

public slots:
    // Gives back one lock on layouts; with the last, postponed layouts become one.
    void allowLayouts();

signals:
    void layoutChanged();

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void childEvent(QChildEvent* event) override;

private:
    using Run = QVarLengthArray<ZilViewItem, 64>;

    void adapt(QWidget* widget, double itemFraction, double viewPosition);
    int measure(QWidget* widget);
    void takeIn(QWidget* widget);
    void growUp(Run& run, int limit);
    void growDown(Run& run, int limit);
    void fillView(Run& run);
    Run cropToView(Run& run) const;
    void place(Run const& run);
    int shiftOfMost(Run const& run) const;
    void releaseLeft(Run const& left);
    void keep(Run const& run);
    void layOutNow();
    void emitLayoutChanged();

    ZilSource* m_source;
    QVector<ZilViewItem> m_items; // the shown run, in order
    int m_anchor = -1; // index into it
    int m_layoutLocks = 0;
    int m_postponedLayouts = 0;
    QElapsedTimer m_sinceLastLayout;
    bool m_adapting = false;
    bool m_emitting = false;
};
