// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The messages that mention a user, newest first, as the service finds them: fetched page by page
// as a view asks for more. User-interface thread; made by DisManager, which keeps it.

#include "flake_id.h"

#include <QAbstractListModel>
#include <QString>
#include <QVector>

class DisDreadFetchOp;

class DisMentionsListModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role { MessageIdRole = Qt::UserRole, ChannelIdRole, AuthorIdRole, ContentRole };
    enum class State { Fetching, Idle, Failed }; // after a failure more may be asked for again

    DisMentionsListModel(FlakeId user, QObject* parent);
    ~DisMentionsListModel() override;

    State state() const { return m_state; }
    void reload(); // from the newest; the rows stay until the first page is there

    int rowCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    bool canFetchMore(QModelIndex const& parent) const override;
    void fetchMore(QModelIndex const& parent) override;

signals:
    void stateChanged();

private:
    struct Mention {
        FlakeId message;
        FlakeId channel;
        FlakeId author;
        QString authorName;
        QString content; // as it was sent, markup and all
    };

    void fetch(FlakeId before);
    void receive(DisDreadFetchOp* op, bool first);
    static QVector<Mention> read(DisDreadFetchOp const& op);
    void setState(State state);

    FlakeId const m_user;
    QVector<Mention> m_mentions;
    State m_state = State::Idle;
    bool m_isWhole = false; // the oldest is there
};
