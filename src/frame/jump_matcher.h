// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What can be gone to by "Go to…", provider by provider. Each provider makes one matcher for each
// open view; it answers a query when it can, with rows that came and rows that went, and paints its
// rows. The view merges the rows of all matchers and knows them by number only. User-interface
// thread.

#include "jump_style.h"
#include "nav_loc.h"

#include <QObject>
#include <QPair>
#include <QVarLengthArray>
#include <QVector>

class QPixmap;
class QRegion;
class QWidget;

namespace NakJump {

struct MatcherCtorParams {
    QObject* parent = nullptr; // owns the matcher
    QWidget* view = nullptr; // what matches are opened from
    Style const* style = nullptr; // outlives the matcher
};

struct ActivationOpts {
    bool inNewTab = false; // behind the current one
};

struct MatchInfo {
    qint32 relevance = 0; // lower is better; equal ones stay in their order of arrival
    quint32 flags = 0; // the matcher's own
};

using Added = QVector<QPair<unsigned int, MatchInfo>>;

} // namespace NakJump

class NakJumpMatcher : public QObject {
    Q_OBJECT
public:
    explicit NakJumpMatcher(NakJump::MatcherCtorParams const& params);
    ~NakJumpMatcher() override;

    // The numbers of items are the matcher's own and name what matchesUpdated() has added.
    virtual void setQueryString(QString const& query) = 0;
    virtual void paintItem(QPainter* painter, QRegion const& region, unsigned int item,
                           NakJump::PaintOptions const& options) = 0;
    virtual int itemHeight(unsigned int item) = 0; // device-independent pixels
    virtual void activated(unsigned int item, NakJump::ActivationOpts const& options) = 0;
    // All of the matcher's items on screen; none when the view is hidden.
    virtual void visibleItemsChanged(QVarLengthArray<unsigned int, 32> const& items);

signals:
    void matchesUpdated(QVector<unsigned int> const& removed, NakJump::Added const& added);
    // rect: in the row's coordinates; an empty one stands for the whole row.
    void itemDirtied(unsigned int const& item, QRect const& rect);

protected:
    NakJump::Style const& jumpStyle() const { return *m_style; }
    QSize defaultDecorationSize() const;
    QRect decorationRect(NakJump::PaintOptions const& options) const;
    QRect contentsRect(NakJump::PaintOptions const& options) const; // right of the decoration
    void drawBackground(QPainter* painter, NakJump::PaintOptions const& options) const;
    // In the middle of its place.
    void drawDecoration(QPainter* painter, QPixmap const& pixmap,
                        NakJump::PaintOptions const& options) const;
    // A glyph of the icon font, in the colour of the row's state.
    void drawGlyph(QPainter* painter, ushort glyph, NakJump::PaintOptions const& options) const;
    // Laid out first where the row's width is another than before.
    void drawText(QPainter* painter, NakJump::RowText* text,
                  NakJump::PaintOptions const& options) const;

    // What an activated item comes to.
    void openPlace(NakNavLoc const& place, NakJump::ActivationOpts const& options);
    // An empty rectangle stands for the whole row.
    void invalidateItem(unsigned int item, QRect const& rect = {});
    void updateMatches(QVector<unsigned int> const& removed, NakJump::Added const& added);

private:
    QWidget* const m_view;
    NakJump::Style const* const m_style;
};

// A provider is a QObject too.
class INakJumpProvider {
public:
    virtual ~INakJumpProvider();

    // Belongs to the parent of the parameters.
    virtual NakJumpMatcher* createJumpMatcher(NakJump::MatcherCtorParams const& params) = 0;
};
Q_DECLARE_INTERFACE(INakJumpProvider, "Nakwire.INakJumpProvider")
