// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_notifs.h"

#include "dis_cache.h"
#include "dis_client.h"
#include "dis_manager.h"
#include "dis_utils.h"
#include "nak_go.h"
#include "preferences.h"

#include <QApplication>
#include <QWidget>

namespace {

constexpr int maxTextLength = 200; // in UTF-16 units; a glance, not the message
enum MsgAction { OpenChannel, MarkAsRead };
enum RequestAction { Accept, Decline };

// The wire's relationship type of a friend.
constexpr qint32 friendType = 1;

QString glanceAt(DisNotifs::NotifsData const& data, FlakeId message)
{
    QString text = (data.readableText ? data.readableText(message) : QString()).simplified();
    if (text.isEmpty())
        return QObject::tr("[no text]");
    if (text.size() <= maxTextLength)
        return text;
    int const end =
        text.at(maxTextLength - 1).isHighSurrogate() ? maxTextLength - 1 : maxTextLength;
    return text.left(end) + QChar(0x2026);
}

// Who and where, such as "ada in #general (Engines)".
QString heading(DisNotifs::MsgNotifParams const& params)
{
    QString author = DisCache::userNameOrNickInGuild(params.author, params.guild);
    if (params.guild.isValid())
        return QObject::tr("%1 in %2 (%3)")
            .arg(author, DisCache::guildChannelDisplayName(params.channel),
                 DisCache::guildName(params.guild));
    if (DisCache::channelType(params.channel) != DisChannelType::PrivateGroup)
        return author;
    return QObject::tr("%1 in %2")
        .arg(author, DisUtils::channelDisplayName(params.channel, g_disManager->activeUserId()));
}

void openChannel(FlakeId channel)
{
    NakGo::openNavLocAsIfFromNotification(NakNavLoc::discordChannel(channel));
}

DisMsgNotif* makeMsgNotif(DisNotifs::NotifsData& data, FlakeId channel)
{
    auto* const notif = new DisMsgNotif(data.parent);
    notif->setActions(
        { NakNotifAction(QObject::tr("Open")), NakNotifAction(QObject::tr("Mark as Read")) });
    QObject::connect(notif, &NakNotifItem::dismissed, data.parent,
                     [&data, channel] { DisNotifs::removeMsgNotifsInChannels(data, { channel }); });
    QObject::connect(notif, &NakNotifItem::trayMessageClicked, data.parent,
                     [channel] { openChannel(channel); });
    QObject::connect(notif, &NakNotifItem::actionTriggered, data.parent, [channel](int action) {
        if (action == OpenChannel)
            openChannel(channel);
        else
            g_disManager->markChannelsAsRead({ channel });
    });
    return notif;
}

void addMsgNotif(DisNotifs::NotifsData& data, DisNotifs::MsgNotifParams params,
                 DisNotifs::MsgNotifType type)
{
    if (data.watchedUsers.isEmpty())
        return;
    params.type = type;
    params.guild = DisCache::guildIdOfChannel(params.channel);
    params.text = glanceAt(data, params.message);
    DisMsgNotif*& notif = data.messages[params.channel];
    if (!notif)
        notif = makeMsgNotif(data, params.channel);
    // A private message that mentions the user too is told of once.
    bool const known = notif->params().message == params.message;
    notif->setParams(params);
    notif->setEnabled(true);
    if (!known)
        notif->showPopupIfAllowed();
}

// The list that shows it may be what called.
void withdraw(NakTextNotifItem* notif)
{
    notif->setEnabled(false);
    notif->deleteLater();
}

NakTextNotifItem* makeFriendRequest(DisNotifs::NotifsData& data, FlakeId ownUser, FlakeId other)
{
    auto* const notif = new NakTextNotifItem(data.parent);
    notif->setMultiline(true);
    notif->setText(QObject::tr("%1 sent you a friend request").arg(DisCache::userName(other)));
    notif->setActions(
        { NakNotifAction(QObject::tr("Accept")), NakNotifAction(QObject::tr("Decline")) });
    QObject::connect(notif, &NakNotifItem::dismissed, data.parent,
                     [notif] { notif->setEnabled(false); });
    QObject::connect(notif, &NakNotifItem::actionTriggered, data.parent,
                     [notif, ownUser, other](int action) {
                         if (action == Accept)
                             g_disClient->setUserRelationship(ownUser, other, friendType);
                         else
                             g_disClient->removeUserRelationship(ownUser, other);
                         notif->setEnabled(false);
                     });
    notif->setEnabled(true);
    return notif;
}

} // namespace

DisMsgNotif::DisMsgNotif(QObject* parent)
    : NakTextNotifItem(parent)
{
    setMultiline(true); // the glance is longer than a narrow list
}

void DisMsgNotif::setParams(DisNotifs::MsgNotifParams const& params)
{
    m_params = params;
    setText(heading(params) + QLatin1String(": ") + params.text);
}

void DisMsgNotif::showPopupIfAllowed()
{
    if (NakNotifItem::shouldCreateTrayMessages())
        showTrayMessage(heading(m_params), m_params.text, QIcon());
    bool const active = QGuiApplication::applicationState() == Qt::ApplicationActive;
    if (active || !g_preferences->useWindowAlerts)
        return;
    auto const windows = NakGo::chatWindows();
    if (!windows.isEmpty())
        QApplication::alert(windows.first(), 0);
}

void DisNotifs::addUserChanWatches(NotifsData& data, FlakeId ownUser)
{
    data.watchedUsers.insert(ownUser);
}

void DisNotifs::addPrivMsgNotif(NotifsData& data, MsgNotifParams const& params)
{
    addMsgNotif(data, params, MsgNotifType::PrivateMessage);
}

void DisNotifs::addMentionedMsgNotif(NotifsData& data, MsgNotifParams const& params)
{
    addMsgNotif(data, params, MsgNotifType::Mention);
}

void DisNotifs::removeMsgNotifsInChannels(NotifsData& data, QSet<FlakeId> const& channels)
{
    for (FlakeId const channel : channels)
        if (DisMsgNotif* const notif = data.messages.take(channel))
            withdraw(notif);
}

void DisNotifs::setFriendRequests(NotifsData& data, FlakeId ownUser, QVector<FlakeId> const& users)
{
    QVector<FlakeId> const told =
        g_preferences->notifyOnFriendRequests ? users : QVector<FlakeId>();
    for (FlakeId const known : data.friendRequests.keys())
        if (!told.contains(known))
            withdraw(data.friendRequests.take(known));
    for (FlakeId const user : told)
        if (!data.friendRequests.contains(user))
            data.friendRequests.insert(user, makeFriendRequest(data, ownUser, user));
}
