// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_guild_overview_page.h"

#include "dis_admin_words.h"
#include "dis_avatar_images.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_guild_picture.h"
#include "dis_request.h"
#include "dis_rest_params.h"
#include "dis_status_line.h"
#include "nak_stmt.h"
#include "plain_text.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int pictureSize = 64;
constexpr int pictureGap = 12;

QLabel* plainLabel()
{
    auto* const label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

DisGuildOverviewPage::DisGuildOverviewPage(FlakeId user, FlakeId guild, QWidget* parent)
    : QWidget(parent)
    , m_user(user)
    , m_guild(guild)
    , m_picture(new QLabel)
    , m_name(plainLabel())
    , m_facts(plainLabel())
    , m_muted(new QCheckBox(tr("&Mute this server")))
    , m_status(new DisStatusLine)
{
    QFont bold = font();
    bold.setBold(true);
    m_name->setFont(bold);
    auto* const texts = new QVBoxLayout;
    texts->addWidget(m_name);
    texts->addWidget(m_facts);
    texts->addStretch();
    auto* const head = new QHBoxLayout;
    head->setSpacing(pictureGap);
    head->addWidget(m_picture, 0, Qt::AlignTop);
    head->addLayout(texts, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(head);
    layout->addSpacing(pictureGap);
    layout->addWidget(m_muted);
    layout->addWidget(m_status);
    layout->addStretch(1);
    connect(m_muted, &QCheckBox::clicked, this, &DisGuildOverviewPage::setMuted);
    connect(g_disClient, &DisClient::disChanges, this, &DisGuildOverviewPage::disChanges);
    if (g_disAvatarImages)
        connect(g_disAvatarImages, &DisAvatarImages::guildIconPresented, this,
                &DisGuildOverviewPage::showGuild);
    showGuild();
    showSettings();
}

DisGuildOverviewPage::~DisGuildOverviewPage() = default;

void DisGuildOverviewPage::showGuild()
{
    m_picture->setPixmap(disGuildPicture(m_guild, pictureSize));
    m_name->setText(NakPlainText::titleLine(DisCache::guildName(m_guild)));
    FlakeId const owner = DisCache::guildOwner(m_guild);
    QString const ownerName = owner == m_user
        ? tr("you")
        : DisCache::userName(owner) + DisCache::userDiscrimWithHash(owner);
    m_facts->setText(
        tr("Owner: %1\nMade: %2")
            .arg(NakPlainText::titleLine(ownerName),
                 QLocale().toString(m_guild.toDateTime_Discord().date(), QLocale::LongFormat)));
}

void DisGuildOverviewPage::showSettings()
{
    NakStmt stmt(g_disClient->db(),
                 "select muted from user_guild_setting where user_id = ? and guild_id = ?");
    stmt.bind(1, m_user);
    stmt.bind(2, m_guild);
    m_muted->setChecked(stmt.step() && stmt.colInt(0) != 0);
}

void DisGuildOverviewPage::disChanges(DisChanges const& changes)
{
    using Type = DisChange::ChangeType;
    bool const all = changes.isReload();
    if (all || changes.has(Type::GuildChanged) || changes.has(Type::UserPropertiesChanged))
        showGuild();
    if (all || changes.has(Type::UserGuildSettingsChanged))
        showSettings();
}

void DisGuildOverviewPage::setMuted(bool muted)
{
    m_status->say(tr("Telling Discord\u2026"));
    m_muted->setEnabled(false);
    DisGuildNotificationSettings settings;
    settings.muted = muted;
    auto* const op = g_disClient->setGuildNotificationSettings(m_user, m_guild, settings, this);
    connect(op, &DisRequest::finished, this, [this, op] {
        op->deleteLater();
        m_muted->setEnabled(true);
        m_muted->setFocus();
        if (!m_status->sayResult(*op, tr("Saved.")))
            showSettings();
    });
}
