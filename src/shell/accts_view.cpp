// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "accts_view.h"

#include "accts_agg_item_delegate.h"
#include "accts_agg_model.h"
#include "global_events.h"
#include "shell_icons.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSplitter>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

constexpr ushort tabGlyph = 61632; // users
constexpr ushort addGlyph = 61543; // plus
constexpr ushort connectGlyph = 61926; // plug
constexpr ushort disconnectGlyph = 61735; // broken chain
constexpr ushort autoConnectGlyph = 61671; // lightning
constexpr ushort noAutoConnectGlyph = 61534; // ban
constexpr ushort deleteGlyph = 61944; // trash

constexpr int treeWidth = 280; // at first, in pixels
constexpr int detailMargin = 16;
constexpr int minDetailWidth = 220;

QLabel* plainLabel(QString const& text, QWidget* parent)
{
    auto* const label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

bool confirmDeletion(QWidget* parent, int count)
{
    QMessageBox box(
        QMessageBox::Question, QObject::tr("Confirm Account Deletion"),
        count == 1 ? QObject::tr("Are you sure you want to delete this account?")
                   : QObject::tr("Are you sure you want to delete these %1 accounts?").arg(count),
        QMessageBox::NoButton, parent);
    QPushButton* const yes =
        box.addButton(count == 1 ? QObject::tr("Delete Account") : QObject::tr("Delete Accounts"),
                      QMessageBox::DestructiveRole);
    box.setDefaultButton(box.addButton(QMessageBox::Cancel));
    box.exec();
    return box.clickedButton() == yes;
}

} // namespace

NakAcctsView::NakAcctsView(QWidget* parent)
    : QWidget(parent)
{
    createModelAndTree();
    createActions();
    createDetailPane();
    connectTree();
    if (QModelIndex const first = m_model->index(0, 0, m_model->index(0, 0)); first.isValid())
        m_tree->setCurrentIndex(first);
    updateFromSelection();
    setFocusProxy(m_tree);
}

// The painters of rows go before the components that they look at.
NakAcctsView::~NakAcctsView()
{
    delete m_delegate;
}

void NakAcctsView::createModelAndTree()
{
    m_model = new NakAcctsAggModel(this);
    for (Component* const component : NakAcct::createComponents(this))
        m_model->addComponent(component);
    m_tree = new QTreeView(this);
    m_delegate = new NakAcctsAggItemDelegate(m_model, m_tree);
    m_tree->setModel(m_model);
    m_tree->setItemDelegate(m_delegate);
    m_tree->header()->hide();
    m_tree->setRootIsDecorated(false);
    m_tree->setItemsExpandable(false);
    m_tree->setIndentation(12);
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tree->setFrameShape(QFrame::NoFrame);
    m_tree->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_tree->expandAll();
}

QAction* NakAcctsView::addAction(QString const& text, ushort glyph, void (NakAcctsView::*slot)())
{
    auto* const action = new QAction(NakShell::icon(glyph), text, this);
    connect(action, &QAction::triggered, this, slot);
    m_menu->addAction(action);
    m_tree->addAction(action);
    return action;
}

void NakAcctsView::createActions()
{
    m_menu = new QMenu(tr("&Accounts"), this);
    m_addMenu = m_menu->addMenu(NakShell::icon(addGlyph), tr("Add Account"));
    for (Component* const component : m_model->components())
        for (QAction* const action : component->createAddAccountActions(this))
            m_addMenu->addAction(action);
    m_connect = addAction(tr("Connect"), connectGlyph, &NakAcctsView::connectSelected);
    m_disconnect = addAction(tr("Disconnect"), disconnectGlyph, &NakAcctsView::disconnectSelected);
    m_enableAutoConnect =
        addAction(tr("Enable Auto-connect"), autoConnectGlyph, &NakAcctsView::enableAutoConnect);
    m_disableAutoConnect = addAction(tr("Disable Auto-connect"), noAutoConnectGlyph,
                                     &NakAcctsView::disableAutoConnect);
    m_delete = addAction(tr("Delete"), deleteGlyph, &NakAcctsView::deleteSelected);
    m_delete->setShortcut(QKeySequence::Delete);
    m_delete->setShortcutContext(Qt::WidgetWithChildrenShortcut);
}

void NakAcctsView::createDetailPane()
{
    auto* const pane = new QWidget;
    m_detailLayout = new QVBoxLayout(pane);
    m_detailLayout->setContentsMargins(detailMargin, detailMargin, detailMargin, detailMargin);
    auto* const scroll = new QScrollArea;
    scroll->setWidget(pane);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setMinimumWidth(minDetailWidth);
    auto* const splitter = new QSplitter(this);
    splitter->addWidget(m_tree);
    splitter->addWidget(scroll);
    splitter->setStretchFactor(0, 0);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({ treeWidth, treeWidth });
    splitter->setChildrenCollapsible(false);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(splitter);
}

void NakAcctsView::connectTree()
{
    connect(m_tree->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &NakAcctsView::updateFromSelection);
    connect(m_tree, &QAbstractItemView::activated, this, &NakAcctsView::activate);
    connect(m_tree->verticalScrollBar(), &QScrollBar::valueChanged, m_delegate,
            &NakAcctsAggItemDelegate::dropHiddenVis);
    connect(m_model, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](QModelIndex const& parent, int first, int last) {
                for (int row = first; row <= last; ++row)
                    if (auto* const item = m_model->acctItem(m_model->index(row, 0, parent)))
                        m_delegate->dropVis(item);
            });
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, &NakAcctsView::updateFromSelection);
    connect(m_model, &QAbstractItemModel::rowsInserted, this,
            [this](QModelIndex const& parent, int first) {
                m_tree->expandAll();
                m_tree->setCurrentIndex(m_model->index(first, 0, parent));
                updateFromSelection();
            });
    connect(m_model, &QStandardItemModel::itemChanged, this, &NakAcctsView::updateActions);
    connect(g_globalEvents, &NakGlobalEvents::anyAccountConnectionProblemChanged, this,
            &NakAcctsView::checkTryClearConnectionProblem);
}

// --- the tab ---

QString NakAcctsView::tabText()
{
    return tr("Accounts");
}

QIcon NakAcctsView::tabIcon()
{
    return NakShell::icon(tabGlyph);
}

QList<QAction*> NakAcctsView::tabMenuBarActions()
{
    return { m_menu->menuAction() };
}

NakNavLoc NakAcctsView::tabNavLoc() const
{
    return NakNavLoc::builtin(NakNav::BuiltinView::Type::Accounts);
}

void NakAcctsView::tabAddToolBarItems(QToolBar* toolBar)
{
    toolBar->addAction(m_addMenu->menuAction());
    // The menu itself is all that the button does.
    if (auto* const button =
            qobject_cast<QToolButton*>(toolBar->widgetForAction(m_addMenu->menuAction())))
        button->setPopupMode(QToolButton::InstantPopup);
    toolBar->addActions(
        { m_connect, m_disconnect, m_enableAutoConnect, m_disableAutoConnect, m_delete });
}

void NakAcctsView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    checkTryClearConnectionProblem();
}

// --- the selection ---

QMap<NakAcctsView::Component*, NakAcctsView::Items> NakAcctsView::gatherSelectedAcctItems() const
{
    QMap<Component*, Items> selected;
    QModelIndexList const indexes = m_tree->selectionModel()->selectedIndexes();
    for (QModelIndex const& index : indexes)
        if (NakAcct::AcctItem* const item = m_model->acctItem(index))
            selected[m_model->componentOf(item)].append(item);
    return selected;
}

void NakAcctsView::updateFromSelection()
{
    updateActions();
    setDetail(createDetail(gatherSelectedAcctItems()));
}

void NakAcctsView::updateActions()
{
    QMap<Component*, Items> const selected = gatherSelectedAcctItems();
    NakAcct::SelectionCapabilities any;
    for (auto it = selected.cbegin(); it != selected.cend(); ++it) {
        NakAcct::SelectionCapabilities const can = it.key()->selectionCapabilities(it.value());
        any.connect |= can.connect;
        any.disconnect |= can.disconnect;
        any.enableAutoConnect |= can.enableAutoConnect;
        any.disableAutoConnect |= can.disableAutoConnect;
        any.remove |= can.remove;
    }
    m_connect->setEnabled(any.connect);
    m_disconnect->setEnabled(any.disconnect);
    m_enableAutoConnect->setEnabled(any.enableAutoConnect);
    m_disableAutoConnect->setEnabled(any.disableAutoConnect);
    m_delete->setEnabled(any.remove);
}

QWidget* NakAcctsView::createDetail(QMap<Component*, Items> const& selected)
{
    int count = 0;
    for (Items const& items : selected)
        count += items.size();
    if (count == 0)
        return createWelcome();
    if (count > 1)
        return plainLabel(tr("%1 accounts selected").arg(count), this);
    if (QWidget* const detail =
            selected.firstKey()->createDetailWidget(selected.first().first(), this))
        return detail;
    return plainLabel(tr("Internal error: unable to find appropriate details widget"), this);
}

QWidget* NakAcctsView::createWelcome()
{
    auto* const welcome = new QWidget(this);
    auto* const layout = new QVBoxLayout(welcome);
    layout->setContentsMargins(0, 0, 0, 0);
    bool const none = m_model->accountCount() == 0;
    QLabel* const title =
        plainLabel(none ? tr("Welcome to Nakwire") : tr("No account selected"), welcome);
    QFont font = title->font();
    font.setBold(true);
    title->setFont(font);
    layout->addWidget(title);
    layout->addWidget(
        plainLabel(none ? tr("Add an account to see its conversations in the side bar.")
                        : tr("Select an account to see its details, or add another one."),
                   welcome));
    for (QAction* const action : m_addMenu->actions()) {
        auto* const button = new QPushButton(action->text(), welcome);
        connect(button, &QPushButton::clicked, action, &QAction::trigger);
        layout->addWidget(button, 0, Qt::AlignLeft);
    }
    return welcome;
}

void NakAcctsView::setDetail(QWidget* widget)
{
    if (m_detail) {
        m_detail->hide();
        m_detail->deleteLater(); // it may be what brought this about
    }
    m_detail = widget;
    while (QLayoutItem* const item = m_detailLayout->takeAt(0))
        delete item;
    m_detailLayout->addWidget(widget);
    m_detailLayout->addStretch();
    widget->show();
}

void NakAcctsView::callWithSelectedAccountsOnComponents(void (Component::*operation)(Items const&))
{
    QMap<Component*, Items> const selected = gatherSelectedAcctItems();
    for (auto it = selected.cbegin(); it != selected.cend(); ++it)
        (it.key()->*operation)(it.value());
    updateActions();
}

void NakAcctsView::activate(QModelIndex const& index)
{
    if (NakAcct::AcctItem* const item = m_model->acctItem(index))
        m_model->componentOf(item)->itemActivated(item);
}

// --- the actions ---

void NakAcctsView::connectSelected()
{
    callWithSelectedAccountsOnComponents(&Component::connectAccts);
}

void NakAcctsView::disconnectSelected()
{
    callWithSelectedAccountsOnComponents(&Component::disconnectAccts);
}

void NakAcctsView::setSelectedAutoConnect(bool on)
{
    QMap<Component*, Items> const selected = gatherSelectedAcctItems();
    for (auto it = selected.cbegin(); it != selected.cend(); ++it)
        it.key()->setAcctsAutoConnect(it.value(), on);
    updateActions();
}

void NakAcctsView::enableAutoConnect()
{
    setSelectedAutoConnect(true);
}

void NakAcctsView::disableAutoConnect()
{
    setSelectedAutoConnect(false);
}

void NakAcctsView::deleteSelected()
{
    int count = 0;
    for (Items const& items : gatherSelectedAcctItems())
        count += items.size();
    if (count > 0 && confirmDeletion(this, count))
        callWithSelectedAccountsOnComponents(&Component::removeAccts);
}

// --- connection problems ---

// The user is looking at the place where a problem shows.
void NakAcctsView::checkTryClearConnectionProblem()
{
    if (isVisible() && g_globalEvents->anyAccountConnectionProblem())
        g_globalEvents->clearAccountConnectionProblems();
}
