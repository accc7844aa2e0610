// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The accounts tab: a tree of every service's accounts, what can be done with those that are
// selected, and the details of one. It knows no service. User-interface thread.

#include "acct_items.h"
#include "tabbed_widget.h"

#include <QMap>
#include <QWidget>

class NakAcctsAggItemDelegate;
class NakAcctsAggModel;
class QMenu;
class QTreeView;
class QVBoxLayout;

class NakAcctsView : public QWidget, public INakTabbedWidget {
    Q_OBJECT
    Q_INTERFACES(INakTabbedWidget)
public:
    explicit NakAcctsView(QWidget* parent = nullptr);
    ~NakAcctsView() override;

    QString tabText() override;
    QIcon tabIcon() override;
    QList<QAction*> tabMenuBarActions() override;
    NakNavLoc tabNavLoc() const override;
    void tabAddToolBarItems(QToolBar* toolBar) override;

signals:
    void tabDataChanged(NakTabbedDataChangeFlags flags);
    void tabStatusUpdated(QRect rect);

protected:
    void showEvent(QShowEvent* event) override;

private:
    using Component = NakAcct::AcctsModelComponent;
    using Items = QVector<NakAcct::AcctItem*>;

    void createModelAndTree();
    void createActions();
    void createDetailPane();
    void connectTree();
    QAction* addAction(QString const& text, ushort glyph, void (NakAcctsView::*slot)());

    QMap<Component*, Items> gatherSelectedAcctItems() const;
    void updateFromSelection();
    void updateActions();
    void setDetail(QWidget* widget);
    QWidget* createDetail(QMap<Component*, Items> const& selected);
    QWidget* createWelcome();
    void callWithSelectedAccountsOnComponents(void (Component::*operation)(Items const&));
    void setSelectedAutoConnect(bool on);
    void activate(QModelIndex const& index);

    void connectSelected();
    void disconnectSelected();
    void enableAutoConnect();
    void disableAutoConnect();
    void deleteSelected();

    void checkTryClearConnectionProblem();

    NakAcctsAggModel* m_model = nullptr;
    QTreeView* m_tree = nullptr;
    NakAcctsAggItemDelegate* m_delegate = nullptr;
    QMenu* m_menu = nullptr; // of the window's menu bar
    QMenu* m_addMenu = nullptr;
    QAction* m_connect = nullptr;
    QAction* m_disconnect = nullptr;
    QAction* m_enableAutoConnect = nullptr;
    QAction* m_disableAutoConnect = nullptr;
    QAction* m_delete = nullptr;
    QVBoxLayout* m_detailLayout = nullptr;
    QWidget* m_detail = nullptr; // what stands in the pane now
};
