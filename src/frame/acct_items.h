// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the accounts view shows and asks, knowing no service: the rows of its tree, the painter of a
// row, and the interface through which a service plugs in its accounts. User-interface thread.

#include <QFont>
#include <QHash>
#include <QObject>
#include <QPalette>
#include <QStandardItem>
#include <QVector>

#include <functional>

class QAction;
class QPainter;
class QWidget;

namespace NakAcct {

enum class ServiceType : qint32 { Discord = 0, Slack = 1 }; // in the order of the tree

constexpr int serviceGroupItemType = QStandardItem::UserType + 1;
constexpr int acctItemType = QStandardItem::UserType + 2;

// A top row, one per service; its children are the accounts.
class ServiceGroupItem : public QStandardItem {
public:
    ServiceGroupItem(ServiceType service, QString const& name);
    int type() const override { return serviceGroupItemType; }
    ServiceType service() const { return m_service; }

private:
    ServiceType m_service;
};

class AcctItem : public QStandardItem {
public:
    explicit AcctItem(ServiceType service);
    int type() const override { return acctItemType; }
    ServiceType service() const { return m_service; }
    // Its row is painted anew.
    void visualsChanged() { emitDataChanged(); }

private:
    ServiceType m_service;
};

struct AcctVisCreateParams {
    QWidget* widget = nullptr; // whose font and colours are used; outlives the painter
    std::function<void()> requestRepaint; // of the row
};

struct AcctVisPaintOption {
    bool selected = false;
    bool active = false; // the window is
};

// The painter of one account's row, which exists while the row is on screen.
class AcctVis {
public:
    explicit AcctVis(AcctVisCreateParams const& params);
    virtual ~AcctVis();
    AcctVis(AcctVis const&) = delete;
    AcctVis& operator=(AcctVis const&) = delete;

    QFont font() const;
    QPalette palette() const;
    Qt::LayoutDirection layoutDirection() const;
    int lineHeight() const; // of one line of text, in pixels
    int horizontalSpace() const; // between two things that stand beside each other
    // The place of a line of text in a row that holds linesPerRow of them.
    QRect lineRect(int line, QRect const& row) const;
    void requestRepaint() const;

    virtual void paint(QPainter* painter, QRect const& row, AcctVisPaintOption const& option) = 0;

    static constexpr int linesPerRow = 2;
    static int rowHeight(QWidget const* widget);

private:
    AcctVisCreateParams m_params;
};

// What the buttons may do for the accounts that are selected.
struct SelectionCapabilities {
    bool connect = false;
    bool disconnect = false;
    bool enableAutoConnect = false;
    bool disableAutoConnect = false;
    bool remove = false;
};

// A service's part of the accounts view. Accounts are passed as the items it made itself.
class AcctsModelComponent : public QObject {
    Q_OBJECT
public:
    // The group belongs to the model that the component is added to.
    AcctsModelComponent(ServiceGroupItem* group, QObject* parent);
    ~AcctsModelComponent() override;

    ServiceGroupItem* group() const { return m_group; }

    virtual SelectionCapabilities selectionCapabilities(QVector<AcctItem*> const& items) = 0;
    virtual void itemActivated(AcctItem*) { } // a double click, or Return
    // For one selected account; belongs to parent. Null if the account is gone.
    virtual QWidget* createDetailWidget(AcctItem* item, QWidget* parent) = 0;
    virtual AcctVis* createVis(AcctItem* item, AcctVisCreateParams const& params) = 0;
    // The entries of the "Add Account" menu; they belong to parent, which their boxes stand over.
    virtual QVector<QAction*> createAddAccountActions(QWidget* parent) const = 0;
    virtual void connectAccts(QVector<AcctItem*> const& items) = 0;
    virtual void disconnectAccts(QVector<AcctItem*> const& items) = 0;
    virtual void removeAccts(QVector<AcctItem*> const& items) = 0;
    virtual void setAcctsAutoConnect(QVector<AcctItem*> const& items, bool on) = 0;

private:
    ServiceGroupItem* m_group;
};

// The door: services register at start what makes their component, and clear it (empty) at the end.
using ComponentFactory = std::function<AcctsModelComponent*(QObject* parent)>;
void registerComponentFactory(ServiceType service, ComponentFactory const& factory);
// One component of each service, in the order of ServiceType.
QVector<AcctsModelComponent*> createComponents(QObject* parent);

} // namespace NakAcct
