// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_guild_settings_window.h"

#include "dis_cache.h"
#include "dis_client.h"
#include "dis_guild_lists.h"
#include "dis_guild_overview_page.h"
#include "dis_manager.h"
#include "plain_text.h"

#include <QDialogButtonBox>
#include <QHash>
#include <QPointer>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace {

constexpr QSize defaultSize(760, 460);

QPointer<DisGuildSettingsWindow>& windowOf(FlakeId guild)
{
    static QHash<FlakeId, QPointer<DisGuildSettingsWindow>> windows;
    return windows[guild];
}

} // namespace

void DisGuildSettingsWindow::summon(FlakeId user, FlakeId guild, QWidget* parent)
{
    auto& window = windowOf(guild);
    if (!window)
        window = new DisGuildSettingsWindow(user, guild, parent);
    window->show();
    window->raise();
    window->activateWindow();
}

DisGuildSettingsWindow::DisGuildSettingsWindow(FlakeId user, FlakeId guild, QWidget* parent)
    : QDialog(parent)
    , m_user(user)
    , m_guild(guild)
    , m_pages(new QTabWidget)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(NakPlainText::windowTitle(tr("%1 Settings").arg(DisCache::guildName(guild))));
    resize(defaultSize);
    addPages();
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->button(QDialogButtonBox::Close)->setAutoDefault(false); // Return is for the lists
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(m_pages, 1);
    layout->addWidget(buttons);
    m_pages->setFocus();
    connect(g_disClient, &DisClient::disChanges, this, &DisGuildSettingsWindow::disChanges);
    connect(g_disManager, &DisManager::activeUserIdChanged, this, &QDialog::close);
}

DisGuildSettingsWindow::~DisGuildSettingsWindow() = default;

void DisGuildSettingsWindow::addPages()
{
    m_pages->addTab(new DisGuildOverviewPage(m_user, m_guild, m_pages), tr("Overview"));
    struct Page {
        char const* title;
        bool (*isAllowed)(FlakeId user, FlakeId guild);
        DisRemoteList (*list)(FlakeId user, FlakeId guild);
    };
    static constexpr Page pages[] = {
        { QT_TR_NOOP("Invites"), DisCache::userCanManageInvitesInGuild, DisGuildLists::invites },
        { QT_TR_NOOP("Bans"), DisCache::userCanUseBansInGuild, DisGuildLists::bans },
        { QT_TR_NOOP("Audit Log"), DisCache::userCanViewAuditLogInGuild, DisGuildLists::auditLog },
    };
    for (Page const& page : pages) {
        if (page.isAllowed(m_user, m_guild))
            m_pages->addTab(new DisRemoteListPage(page.list(m_user, m_guild), m_pages),
                            tr(page.title));
    }
}

void DisGuildSettingsWindow::disChanges(DisChanges const& changes)
{
    for (DisChange const& change : changes.items) {
        if (change.type == DisChange::ChangeType::GuildMemberRemoved && change.words[0] == m_guild
            && change.words[1] == m_user)
            close();
    }
}
