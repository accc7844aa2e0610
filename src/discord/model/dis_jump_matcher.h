// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One view's matches among channels and people. The store is searched on the global thread pool,
// one search at a time: what is typed meanwhile is kept, and only the last of it is searched. Rows
// on screen alone have texts and pictures. User-interface thread.

#include "dis_jump_search.h"
#include "make_id.h"

#include <QHash>
#include <QPixmap>

#include <optional>

class DisJumpMatcher : public NakJumpMatcher {
    Q_OBJECT
public:
    explicit DisJumpMatcher(NakJump::MatcherCtorParams const& params);
    ~DisJumpMatcher() override;

    void setQueryString(QString const& query) override;
    void paintItem(QPainter* painter, QRegion const& region, unsigned int item,
                   NakJump::PaintOptions const& options) override;
    int itemHeight(unsigned int item) override;
    void activated(unsigned int item, NakJump::ActivationOpts const& options) override;
    void visibleItemsChanged(QVarLengthArray<unsigned int, 32> const& items) override;

private:
    struct Shown {
        FlakeId channel;
        unsigned int item = MakeID::none;
    };
    // What a row on screen shows.
    struct Vis {
        NakJump::RowText text;
        QPixmap picture;
    };

    void runTask(QString const& query);
    void finishTask(QVector<DisJumpSearch::Match> const& matches);
    FlakeId channelOf(unsigned int item) const; // invalid for an item that has gone
    Vis loadVis(FlakeId channel) const;
    QPixmap loadPicture(FlakeId channel) const; // null for a group
    void reloadPictures();

    QVector<Shown> m_shown; // in the order in which they came
    MakeID m_items;
    QHash<unsigned int, Vis> m_vis;
    bool m_taskRuns = false;
    std::optional<QString> m_nextQuery; // typed while the task runs
};
