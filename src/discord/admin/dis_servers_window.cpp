// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_servers_window.h"

#include "ask_user.h"
#include "dis_admin_words.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_guild_settings_window.h"
#include "dis_leave_guild.h"
#include "dis_manager.h"
#include "dis_request.h"
#include "dis_servers_model.h"
#include "dis_status_line.h"
#include "dis_view_hint.h"

#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr QSize defaultSize(460, 480);
constexpr int pauseBeforeSaving = 600; // milliseconds after the last move
constexpr int maxInviteLength = 256;

QPointer<DisServersWindow>& theWindow()
{
    static QPointer<DisServersWindow> window;
    return window;
}

} // namespace

void DisServersWindow::summon(QWidget* parent)
{
    if (!theWindow())
        theWindow() = new DisServersWindow(parent);
    theWindow()->show();
    theWindow()->raise();
    theWindow()->activateWindow();
}

DisServersWindow::DisServersWindow(QWidget* parent)
    : QDialog(parent)
    , m_model(new DisServersModel(this))
    , m_filter(new QLineEdit)
    , m_list(new QListView)
    , m_hint(new DisViewHint(m_list))
    , m_status(new DisStatusLine)
    , m_invite(new QLineEdit)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Discord Servers"));
    resize(defaultSize);
    makeList();
    auto* const middle = new QHBoxLayout;
    middle->addWidget(m_list, 1);
    middle->addLayout(makeButtons());
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(m_filter);
    layout->addLayout(middle, 1);
    layout->addLayout(makeJoinRow());
    layout->addWidget(m_status);
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(pauseBeforeSaving);
    connect(&m_saveTimer, &QTimer::timeout, this, &DisServersWindow::saveOrder);
    connect(g_disClient, &DisClient::disChanges, this, &DisServersWindow::disChanges);
    connect(g_disManager, &DisManager::activeUserIdChanged, this, &DisServersWindow::reload);
    reload();
    m_list->setCurrentIndex(m_model->index(0));
    m_list->setFocus();
}

DisServersWindow::~DisServersWindow()
{
    sendWaitingOrder();
}

void DisServersWindow::makeList()
{
    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->setClearButtonEnabled(true);
    m_list->setModel(m_model);
    m_list->setUniformItemSizes(true);
    m_list->setSpacing(1);
    connect(m_filter, &QLineEdit::textChanged, this, &DisServersWindow::filter);
    connect(m_model, &QAbstractItemModel::rowsMoved, this, &DisServersWindow::orderChanged);
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &DisServersWindow::updateState);
    connect(m_list, &QListView::activated, this, &DisServersWindow::openSettings);
    struct Key {
        QKeySequence key;
        void (DisServersWindow::*slot)();
    };
    for (Key const& one : { Key{ Qt::ALT + Qt::Key_Up, &DisServersWindow::moveUp },
                            Key{ Qt::ALT + Qt::Key_Down, &DisServersWindow::moveDown },
                            Key{ QKeySequence::Delete, &DisServersWindow::leave } })
        connect(new QShortcut(one.key, m_list, nullptr, nullptr, Qt::WidgetShortcut),
                &QShortcut::activated, this, one.slot);
}

QPushButton* DisServersWindow::addButton(QLayout* layout, QString const& text,
                                         void (DisServersWindow::*slot)())
{
    auto* const button = new QPushButton(text);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, slot);
    layout->addWidget(button);
    return button;
}

QLayout* DisServersWindow::makeButtons()
{
    auto* const column = new QVBoxLayout;
    m_up = addButton(column, tr("Move &Up"), &DisServersWindow::moveUp);
    m_up->setToolTip(tr("Alt+Up"));
    m_down = addButton(column, tr("Move &Down"), &DisServersWindow::moveDown);
    m_down->setToolTip(tr("Alt+Down"));
    m_settings = addButton(column, tr("&Settings..."), &DisServersWindow::openSettings);
    m_leave = addButton(column, tr("&Leave..."), &DisServersWindow::leave);
    column->addStretch();
    addButton(column, tr("Close"), &DisServersWindow::reject);
    return column;
}

QLayout* DisServersWindow::makeJoinRow()
{
    m_invite->setPlaceholderText(tr("Invite link or code"));
    m_invite->setMaxLength(maxInviteLength);
    auto* const label = new QLabel(tr("&Join"));
    label->setBuddy(m_invite);
    auto* const row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_invite, 1);
    m_join = addButton(row, tr("Join..."), &DisServersWindow::askAboutInvite);
    connect(m_invite, &QLineEdit::returnPressed, this, &DisServersWindow::askAboutInvite);
    connect(m_invite, &QLineEdit::textChanged, this, &DisServersWindow::updateState);
    return row;
}

// --- the list ---

void DisServersWindow::reload()
{
    // What the user has moved stands until the service has taken or refused it.
    if (m_user == g_disManager->activeUserId() && (m_saving || m_saveTimer.isActive()))
        return;
    sendWaitingOrder();
    FlakeId const current = currentGuild();
    m_user = g_disManager->activeUserId();
    m_model->load(m_user);
    setCurrentGuild(current);
    filter();
}

void DisServersWindow::disChanges(DisChanges const& changes)
{
    using Type = DisChange::ChangeType;
    bool const mine =
        std::any_of(changes.items.begin(), changes.items.end(), [this](DisChange const& change) {
            bool const isMember =
                change.type == Type::GuildMemberAdded || change.type == Type::GuildMemberRemoved;
            return isMember && change.words[1] == m_user;
        });
    if (mine || changes.isReload() || changes.has(Type::GuildChanged)
        || changes.has(Type::UserSettingsChanged))
        reload();
}

void DisServersWindow::filter()
{
    QString const wanted = m_filter->text();
    bool anyShown = false;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        QString const name = m_model->index(row).data().toString();
        bool const matches = name.contains(wanted, Qt::CaseInsensitive);
        m_list->setRowHidden(row, !matches);
        anyShown = anyShown || matches;
    }
    if (anyShown)
        m_hint->clear();
    else if (!m_user.isValid())
        m_hint->show({ tr("No account is connected."), {} });
    else if (!wanted.isEmpty())
        m_hint->show({ tr("Nothing matches the filter."), {} });
    else
        m_hint->show({ tr("You are in no server."), tr("An invite gets you into one.") });
    updateState();
}

FlakeId DisServersWindow::currentGuild() const
{
    int const row = m_list->currentIndex().row();
    bool const shown = row >= 0 && !m_list->isRowHidden(row);
    return shown ? m_model->guilds().at(row) : FlakeId();
}

void DisServersWindow::setCurrentGuild(FlakeId guild)
{
    int const row = m_model->guilds().indexOf(guild);
    m_list->setCurrentIndex(m_model->index(std::max(row, 0)));
}

void DisServersWindow::updateState()
{
    FlakeId const guild = currentGuild();
    // Between rows that are not shown nobody sees where one goes.
    bool const canMove = m_filter->text().isEmpty();
    int const row = m_list->currentIndex().row();
    m_up->setEnabled(canMove && guild.isValid() && row > 0);
    m_down->setEnabled(canMove && guild.isValid() && row + 1 < m_model->rowCount());
    m_list->setDragDropMode(canMove ? QAbstractItemView::InternalMove
                                    : QAbstractItemView::NoDragDrop);
    m_settings->setEnabled(guild.isValid());
    m_leave->setEnabled(guild.isValid() && DisLeaveGuild::isPossible(m_user, guild));
    m_join->setEnabled(m_user.isValid()
                       && !DisAdminWords::inviteCodeOf(m_invite->text()).isEmpty());
}

// --- order ---

void DisServersWindow::moveBy(int rows)
{
    int const row = m_list->currentIndex().row();
    QPushButton const* const button = rows < 0 ? m_up : m_down;
    if (button->isEnabled())
        m_model->moveRow({}, row, {}, rows < 0 ? row - 1 : row + 2);
}

void DisServersWindow::orderChanged()
{
    m_saveTimer.start();
    m_list->scrollTo(m_list->currentIndex());
    m_status->say({});
    updateState();
}

void DisServersWindow::saveOrder()
{
    if (m_saving) {
        m_saveTimer.start(); // one after the other, so that the last one stands
        return;
    }
    m_saving = true;
    m_status->say(tr("Saving the order\u2026"));
    auto* const op = g_disClient->setUserGuildPositions(m_user, m_model->guilds(), this);
    connect(op, &DisRequest::finished, this, [this, op] {
        op->deleteLater();
        m_saving = false;
        if (!m_status->sayResult(*op, tr("The order is saved.")))
            reload();
    });
}

// Nobody waits for the answer: the list is about to show something else.
void DisServersWindow::sendWaitingOrder()
{
    if (m_saveTimer.isActive() && g_disClient)
        g_disClient->setUserGuildPositions(m_user, m_model->guilds());
    m_saveTimer.stop();
}

// --- one server ---

void DisServersWindow::openSettings()
{
    if (currentGuild().isValid())
        DisGuildSettingsWindow::summon(m_user, currentGuild(), parentWidget());
}

void DisServersWindow::leave()
{
    if (m_leave->isEnabled())
        DisLeaveGuild::ask(this, m_user, currentGuild());
}

// --- joining ---

void DisServersWindow::askAboutInvite()
{
    QString const code = DisAdminWords::inviteCodeOf(m_invite->text());
    if (code.isEmpty() || !m_join->isEnabled())
        return;
    m_join->setEnabled(false);
    m_status->say(tr("Asking Discord about the invite\u2026"));
    auto* const op = g_disClient->requestInviteInfo(m_user, code, this);
    connect(op, &DisRequest::finished, this, [this, op, code] {
        op->deleteLater();
        updateState();
        if (!m_status->sayResult(*op, QString()))
            return;
        DisInviteInfo const info = readInviteInfo(*op->fetchedData());
        if (m_model->guilds().contains(info.guildId)) {
            m_status->say(tr("You are in %1 already.").arg(info.guildName));
            setCurrentGuild(info.guildId);
            return;
        }
        NakAsk::ask(this,
                    { tr("Join Server"),
                      tr("Are you sure you want to join %1?").arg(info.guildName), tr("Join") },
                    [=] { join(code, info.guildName); });
    });
}

void DisServersWindow::join(QString const& code, QString const& name)
{
    m_status->say(tr("Joining\u2026"));
    auto* const op = g_disClient->acceptInvite(m_user, code, this);
    connect(op, &DisRequest::finished, this, [this, op, name] {
        op->deleteLater();
        if (m_status->sayResult(*op, tr("You are in %1 now.").arg(name)))
            m_invite->clear();
    });
}
