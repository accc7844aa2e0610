// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_remote_list_page.h"

#include "dis_admin_words.h"
#include "dis_request.h"
#include "dis_status_line.h"
#include "dis_view_hint.h"
#include "plain_text.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int maxRows = 20'000; // of one list

QPushButton* buttonOf(QAction* action)
{
    auto* const button = new QPushButton(action->text());
    button->setAutoDefault(false);
    QObject::connect(button, &QPushButton::clicked, action, &QAction::trigger);
    QObject::connect(action, &QAction::changed, button,
                     [=] { button->setEnabled(action->isEnabled()); });
    return button;
}

} // namespace

// --- the rows ---

DisRemoteListModel::DisRemoteListModel(QStringList const& headers, QObject* parent)
    : QAbstractTableModel(parent)
    , m_headers(headers)
{
}

DisRemoteListModel::~DisRemoteListModel() = default;

void DisRemoteListModel::setRows(QVector<DisRemoteRow> const& rows)
{
    beginResetModel();
    m_rows = rows.mid(0, maxRows);
    endResetModel();
}

void DisRemoteListModel::append(QVector<DisRemoteRow> const& rows)
{
    int const count = std::min(rows.size(), maxRows - m_rows.size());
    if (count <= 0)
        return;
    beginInsertRows({}, m_rows.size(), m_rows.size() + count - 1);
    m_rows += rows.mid(0, count);
    endInsertRows();
}

void DisRemoteListModel::removeRowOf(QString const& id)
{
    auto const found = std::find_if(m_rows.cbegin(), m_rows.cend(),
                                    [&id](DisRemoteRow const& row) { return row.id == id; });
    if (found == m_rows.cend())
        return;
    int const row = int(found - m_rows.cbegin());
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    endRemoveRows();
}

int DisRemoteListModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

int DisRemoteListModel::columnCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : m_headers.size();
}

QVariant DisRemoteListModel::data(QModelIndex const& index, int role) const
{
    QString const text = m_rows.at(index.row()).cells.value(index.column());
    if (role == Qt::DisplayRole)
        return text;
    if (role == Qt::ToolTipRole)
        return NakPlainText::toolTip(text);
    return {};
}

QVariant DisRemoteListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
        return m_headers.value(section);
    return {};
}

// --- the page ---

DisRemoteListPage::DisRemoteListPage(DisRemoteList const& list, QWidget* parent)
    : QWidget(parent)
    , m_list(list)
    , m_model(new DisRemoteListModel(list.headers, this))
    , m_filter(new QLineEdit)
    , m_tree(new QTreeView)
    , m_hint(new DisViewHint(m_tree))
    , m_status(new DisStatusLine)
    , m_buttons(new QHBoxLayout)
{
    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->setClearButtonEnabled(true);
    makeTree();
    makeActions();
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(m_filter);
    layout->addWidget(m_tree, 1);
    layout->addLayout(m_buttons);
    connect(m_filter, &QLineEdit::textChanged, this, &DisRemoteListPage::filter);
    updateState();
}

DisRemoteListPage::~DisRemoteListPage() = default;

void DisRemoteListPage::makeTree()
{
    m_tree->setModel(m_model);
    m_tree->setRootIsDecorated(false);
    m_tree->setItemsExpandable(false);
    m_tree->setUniformRowHeights(true);
    m_tree->setAllColumnsShowFocus(true);
    m_tree->setAlternatingRowColors(true);
    m_tree->setContextMenuPolicy(Qt::ActionsContextMenu);
    m_tree->header()->setSectionsMovable(false);
    m_tree->header()->setStretchLastSection(false);
    m_tree->header()->setSectionResizeMode(m_list.wideColumn, QHeaderView::Stretch);
    connect(m_tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &DisRemoteListPage::updateState);
}

QAction* DisRemoteListPage::addAction(QString const& text, void (DisRemoteListPage::*slot)())
{
    auto* const action = new QAction(text, this);
    connect(action, &QAction::triggered, this, slot);
    m_tree->addAction(action);
    m_buttons->addWidget(buttonOf(action));
    return action;
}

void DisRemoteListPage::makeActions()
{
    m_buttons->addWidget(m_status, 1);
    if (m_list.pageSize > 0)
        m_more = addAction(tr("Show &Older"), &DisRemoteListPage::showMore);
    if (m_list.copyText)
        m_copy = addAction(tr("Cop&y Link"), &DisRemoteListPage::copyCurrent);
    if (!m_list.actionText.isEmpty()) {
        m_act = addAction(m_list.actionText, &DisRemoteListPage::actOnCurrent);
        m_act->setShortcut(QKeySequence::Delete);
        m_act->setShortcutContext(Qt::WidgetShortcut); // of the tree
    }
    m_refresh = addAction(tr("&Refresh"), &DisRemoteListPage::refresh);
    m_refresh->setShortcut(QKeySequence::Refresh);
    m_refresh->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    QWidget::addAction(m_refresh);
}

void DisRemoteListPage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!m_fetched && !m_fetching)
        fetch({});
}

void DisRemoteListPage::fetch(QString const& after)
{
    m_fetching = true;
    m_problem.clear();
    DisRequest* const request = m_list.fetch(after, this);
    connect(request, &DisRequest::finished, this, [=] { receive(request, after); });
    updateState();
}

void DisRemoteListPage::receive(DisRequest* request, QString const& after)
{
    request->deleteLater();
    m_fetching = false;
    m_problem = DisAdminWords::problem(*request);
    if (m_problem.isEmpty()) {
        auto const rows = m_list.read(*request);
        bool const first = !m_fetched;
        m_fetched = true;
        if (after.isEmpty())
            m_model->setRows(rows);
        else
            m_model->append(rows);
        m_mayHaveMore = rows.size() >= m_list.pageSize;
        for (int column = 0; first && column < m_model->columnCount(); ++column)
            if (column != m_list.wideColumn)
                m_tree->resizeColumnToContents(column);
        if (!m_tree->currentIndex().isValid())
            m_tree->setCurrentIndex(m_model->index(0, 0));
    }
    filter();
}

void DisRemoteListPage::refresh()
{
    if (!m_fetching)
        fetch({});
}

void DisRemoteListPage::showMore()
{
    if (!m_fetching && !m_model->rows().isEmpty())
        fetch(m_model->rows().last().id);
}

void DisRemoteListPage::actOnCurrent()
{
    DisRemoteRow const* const current = currentRow();
    if (!current)
        return;
    NakAsk::ask(this, m_list.question(*current), [this, row = *current] {
        m_status->say(tr("Telling Discord\u2026"));
        DisRequest* const request = m_list.act(row, this);
        connect(request, &DisRequest::finished, this, [=] {
            request->deleteLater();
            if (m_status->sayResult(*request, tr("Done.")))
                m_model->removeRowOf(row.id);
            filter();
        });
    });
}

void DisRemoteListPage::copyCurrent()
{
    DisRemoteRow const* const current = currentRow();
    if (!current)
        return;
    QApplication::clipboard()->setText(m_list.copyText(*current));
    m_status->say(tr("The link is in the clipboard."));
}

void DisRemoteListPage::filter()
{
    QString const wanted = m_filter->text();
    auto const& rows = m_model->rows();
    for (int row = 0; row < rows.size(); ++row) {
        auto const& cells = rows.at(row).cells;
        bool const matches = std::any_of(cells.cbegin(), cells.cend(), [&](QString const& cell) {
            return cell.contains(wanted, Qt::CaseInsensitive);
        });
        m_tree->setRowHidden(row, {}, !matches);
    }
    updateState();
}

DisRemoteRow const* DisRemoteListPage::currentRow() const
{
    int const row = m_tree->currentIndex().row();
    bool const shown = row >= 0 && !m_tree->isRowHidden(row, {});
    return shown ? &m_model->rows().at(row) : nullptr;
}

void DisRemoteListPage::updateState()
{
    bool const hasRow = currentRow() != nullptr;
    if (m_act)
        m_act->setEnabled(hasRow && !m_fetching);
    if (m_copy)
        m_copy->setEnabled(hasRow);
    if (m_more)
        m_more->setEnabled(m_mayHaveMore && !m_fetching);
    m_refresh->setEnabled(!m_fetching);
    bool const anyShown = m_tree->indexAt({ 0, 0 }).isValid();
    if (anyShown)
        m_hint->clear();
    else if (m_fetching)
        m_hint->show({ tr("Asking Discord\u2026"), {} });
    else if (!m_problem.isEmpty())
        m_hint->show({ m_problem, tr("F5 tries again.") });
    else if (!m_filter->text().isEmpty())
        m_hint->show({ tr("Nothing matches the filter."), {} });
    else
        m_hint->show(m_list.empty);
    if (anyShown && (m_fetching || !m_problem.isEmpty()))
        m_status->say(m_fetching ? tr("Asking Discord\u2026") : m_problem);
    else if (m_fetching || m_status->text() == tr("Asking Discord\u2026"))
        m_status->say({});
}
