// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One span of the buffer: a header line beside the author's avatar, and one content widget for each
// message below it. Pooled by DisBuffWidgetsManager, which must outlive it. A widget keeps its
// content widgets when it goes to the pool, to fill them again. User-interface thread only.

#include "dis_buff_widgets.h"
#include "dis_listen.h"

#include <QVector>
#include <QWidget>

#include <tuple>

class DisBuffMsgContentWidget;
class DisGroupUserLine;

struct DisBuffGroupParams {
    FlakeId authorId;
    FlakeId guildId; // invalid outside guilds
    qint64 timestamp = 0; // of the first message, milliseconds since the Unix epoch
    bool timestampKnown = false;

    auto key() const { return std::tie(authorId, guildId, timestamp, timestampKnown); }
};

// In the group's coordinates.
struct DisBuffGroupLayout {
    int width = -1;
    int height = 0;
    QRect avatar; // empty when none are shown
    QRect header;
    QVector<QRect> contents;
};

class DisBuffGroupWidget : public QWidget {
    Q_OBJECT
public:
    explicit DisBuffGroupWidget(DisBuffWidgetsManager* manager);
    ~DisBuffGroupWidget() override;

    void setFramingContent(DisBuffGroupParams const& params);
    // The style has changed; contents are set anew by the buffer.
    void updateFromPreferences();
    // Goes to the pool: lets go of the author and of what the messages hold beside their texts.
    void clearResourcesOnly();

    QVector<DisBuffMsgContentWidget*> const& contents() const { return m_contents; }
    DisBuffMsgContentWidget* appendContent(); // takes one from the pool
    void truncateContents(int count); // gives the rest back to the pool

    // Heights may be new.
    void invalidateLayout();
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    // Where the n-th message would be at that width.
    int contentTop(int index, int width) const;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void updateFromUserProps();
    void placeParts();
    void layoutRequested();

    DisBuffWidgetsManager* m_manager;
    DisGroupUserLine* m_header;
    DisUserListener* m_author;
    DisBuffGroupParams m_params;
    qint64 m_framedQuarter = -1; // the quarter of an hour in which the header was filled in
    QString m_initial; // of one who has no picture; else empty
    QVector<DisBuffMsgContentWidget*> m_contents;
    mutable DisBuffGroupLayout m_layout; // for the width asked for last
};
