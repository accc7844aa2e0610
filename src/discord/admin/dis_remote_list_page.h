// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A list that lives at the service: fetched when it is first looked at, filtered by what is typed,
// and acted upon row by row. What differs between such lists is a plain record. User-interface
// thread.

#include "ask_user.h"
#include "empty_hint.h"

#include <QAbstractTableModel>
#include <QStringList>
#include <QVector>
#include <QWidget>

#include <functional>

class DisRequest;
class DisStatusLine;
class DisViewHint;
class QAction;
class QBoxLayout;
class QLineEdit;
class QTreeView;

struct DisRemoteRow {
    QString id;
    QStringList cells; // as they are shown, each of them one line
};

struct DisRemoteList {
    QStringList headers;
    int wideColumn = 0; // takes the room that the others leave
    NakEmptyHint empty;
    // Of the first page, or of the one that follows the row of that id.
    std::function<DisRequest*(QString const& after, QObject* parent)> fetch;
    std::function<QVector<DisRemoteRow>(DisRequest const&)> read;
    int pageSize = 0; // rows of a page that another may follow; 0: the first is all there is

    QString actionText; // empty: nothing can be done with a row
    std::function<NakQuestion(DisRemoteRow const&)> question;
    std::function<DisRequest*(DisRemoteRow const&, QObject* parent)> act;
    std::function<QString(DisRemoteRow const&)> copyText; // null: there is nothing to copy
};

class DisRemoteListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    DisRemoteListModel(QStringList const& headers, QObject* parent);
    ~DisRemoteListModel() override;

    QVector<DisRemoteRow> const& rows() const { return m_rows; }
    void setRows(QVector<DisRemoteRow> const& rows);
    void append(QVector<DisRemoteRow> const& rows); // as far as the bound allows
    void removeRowOf(QString const& id);

    int rowCount(QModelIndex const& parent = {}) const override;
    int columnCount(QModelIndex const& parent = {}) const override;
    QVariant data(QModelIndex const& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QStringList const m_headers;
    QVector<DisRemoteRow> m_rows;
};

class DisRemoteListPage : public QWidget {
    Q_OBJECT
public:
    DisRemoteListPage(DisRemoteList const& list, QWidget* parent);
    ~DisRemoteListPage() override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void makeTree();
    void makeActions();
    QAction* addAction(QString const& text, void (DisRemoteListPage::*slot)());
    void fetch(QString const& after);
    void receive(DisRequest* request, QString const& after);
    void refresh();
    void showMore();
    void actOnCurrent();
    void copyCurrent();
    void filter();
    void updateState();
    DisRemoteRow const* currentRow() const; // null if none

    DisRemoteList const m_list;
    DisRemoteListModel* m_model;
    QLineEdit* m_filter;
    QTreeView* m_tree;
    DisViewHint* m_hint;
    DisStatusLine* m_status;
    QBoxLayout* m_buttons;
    QAction* m_act = nullptr;
    QAction* m_copy = nullptr;
    QAction* m_more = nullptr;
    QAction* m_refresh = nullptr;
    bool m_fetching = false;
    bool m_fetched = false; // at least once
    bool m_mayHaveMore = false; // the last page was full
    QString m_problem; // with the last fetch
};
