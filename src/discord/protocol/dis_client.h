// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The one object that the user interface talks to for Discord: it owns the sessions, the
// user-interface thread's connection to the store, and the messages that are being sent.
// User-interface thread only. Most operations take the acting own user, look up that user's
// session and issue one HTTP request; what it changes comes back through the gateway. Where an
// operation takes a parent, whoever gives one gets a handle that says how the request ended, and
// which belongs to it; without a parent nobody asks, and there is none.

#include "dis_changes.h"
#include "dis_seg.h"
#include "dis_session_timings.h"
#include "dis_types.h"

#include <QHash>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>
#include <QVector>

#include <functional>
#include <memory>

class DisChangeOp;
class DisClientAuditLogFetchOp;
class DisDreadFetchOp;
class DisSession;
class IDisVoiceLine;
class QPixmap;
enum class DisRestOp : quint8;
struct DisClientAuditLogFetchParams;
struct DisClientMentionsFetchParams;
struct DisDbPrepared;
struct DisEmbedCreation;
struct DisGuildChannelParams;
struct DisGuildNotificationSettings;
struct DisGuildPosition;
struct DisGuildRoleParams;
struct DisPermissionOverwrite;
struct DisRestRequest;
struct DisVoiceConnParams;
struct NakDeployment;
struct sqlite3;

namespace DisClientImpl {
struct DisMessageCreatedOutcome;
QString stateTypeToString(DisSessionStateType type);
// The next nonce's milliseconds since the Discord epoch. Two in one millisecond stay apart.
qint64 nextNonceMSecs(qint64 now, qint64 last);
} // namespace DisClientImpl

// Fixed at program start.
struct DisClientConstants {
    QString baseUrl; // path /api/v6, without a slash at the end
    QString loginUrl; // known to the service; there is no password login, so nothing calls it
    QString logoutUrl; // the same
    QString gatewayQueryUrl;
    QString inviteUrl; // what an invite's code follows in its link, without a slash
    QString appName;
    QString libUrl;
    QString userAgent;

    static DisClientConstants fromDeployment(NakDeployment const& deployment);
};

// A message that has been sent and not yet been confirmed by the gateway.
struct DisPendingMsg {
    FlakeId channelId;
    FlakeId authorId;
    QString text;
    qint64 timestamp = 0; // milliseconds since the Unix epoch
};

class DisClient : public QObject {
    Q_OBJECT
public:
    // Removes an old store at dbPath, creates a new one and prepares its statements; a failure
    // ends the program, since nothing works without the store.
    DisClient(DisClientConstants const& constants, QString const& dbPath, QObject* parent);
    ~DisClient() override;

    DisClientConstants const& constants() const;
    QString dbPath() const;
    sqlite3* db() const; // the user-interface thread's connection
    DisDbPrepared& prepared() const;

    // For the sessions that are added from now on.
    void setSessionTimings(DisSessionTimings const& timings);

    // --- sessions ---
    // A session of the same token is not made twice: null then.
    DisSession* addSessionWithAuthToken(QString const& token, QString const& gatewayUrl);
    void disconnectSession(DisSession* session);
    void disconnectAllSessions();
    QVector<DisSession*> sessions() const;
    DisSession* findSessionForOwnUserId(FlakeId userId) const; // null if none
    bool hasSessionForOwnUserId(FlakeId userId) const;
    DisSession* findSessionForAuthToken(QString const& token) const;
    FlakeId hack_getDefaultUserId() const; // own user of the first session; invalid if none

    // --- what has been fetched, over all sessions ---
    QSet<FlakeId> channelsWithFetchedHistory() const;
    QSet<FlakeId> channelsWithOldestMessageFetched() const;
    QSet<FlakeId> channelsWithFetchedPinnedMessages() const;

    // --- messages ---
    // Return the nonce, under which the pending entry stands, or the invalid id without a session
    // or if a file cannot be read.
    FlakeId sendMessageAsUser(FlakeId userId, FlakeId channelId, QString const& text);
    FlakeId sendChannelMessageAndFile(FlakeId userId, FlakeId channelId, QString const& text,
                                      QString const& path);
    // As a PNG; the name comes without its ending.
    FlakeId sendChannelMessageAndImage(FlakeId userId, FlakeId channelId, QString const& text,
                                       QPixmap const& pixmap, QString const& name);
    FlakeId sendEmbedMessage(FlakeId userId, FlakeId channelId, QString const& text,
                             DisEmbedCreation const& embed);
    void editMessageAsUser(FlakeId channelId, FlakeId messageId, FlakeId userId,
                           QString const& text);
    void deleteChannelMessage(FlakeId channelId, FlakeId messageId, FlakeId userId);
    // Ordered by nonce, which is the order of sending.
    QMap<FlakeId, DisPendingMsg>& pendingMessages_hack();
    // Tells listeners of changes that this side made itself, such as a cancelled pending message.
    void postLocalChanges(DisChanges const& changes);

    void addEmojiReaction(FlakeId channelId, FlakeId messageId, FlakeId userId, FlakeId emojiId,
                          QString const& emojiName);
    void deleteEmojiReaction(FlakeId channelId, FlakeId messageId, FlakeId userId, FlakeId emojiId,
                             QString const& emojiName);

    // Writes the marks of the pinned messages into the store.
    void fetchPinnedMessages(FlakeId userId, FlakeId channelId);
    void pinMessage(FlakeId userId, FlakeId channelId, FlakeId messageId);
    void unpinMessage(FlakeId userId, FlakeId channelId, FlakeId messageId);

    // --- private channels and friends ---
    void createDirectMessage(FlakeId userId, FlakeId otherId);
    void addUserToPrivateChannel(FlakeId userId, FlakeId channelId, FlakeId otherId);
    // The wire's types: 1 friend (asks for it, or accepts), 2 blocked.
    void setUserRelationship(FlakeId userId, FlakeId otherId, qint32 type);
    void removeUserRelationship(FlakeId userId, FlakeId otherId);

    // --- guilds ---
    void createGuildChannel(FlakeId userId, FlakeId guildId, DisChannelType type, FlakeId parentId,
                            DisGuildChannelParams const& params);
    void modifyGuildChannel(FlakeId userId, FlakeId channelId, DisGuildChannelParams const& params);
    void deleteChannel(FlakeId userId, FlakeId channelId);
    void deleteChannels(FlakeId userId, QVector<FlakeId> const& channelIds);
    void modifyGuildChannelPositions(FlakeId userId, FlakeId guildId,
                                     QVector<DisGuildPosition> const& positions);
    void setGuildChannelPermissionOverwrites(FlakeId userId, FlakeId channelId,
                                             QVector<DisPermissionOverwrite> const& overwrites);
    void modifyGuildChannelPermissionOverwrite(FlakeId userId, FlakeId channelId,
                                               DisPermissionOverwrite const& overwrite);
    void createGuildRole(FlakeId userId, FlakeId guildId, DisGuildRoleParams const& params);
    void modifyGuildRole(FlakeId userId, FlakeId guildId, FlakeId roleId,
                         DisGuildRoleParams const& params);
    void deleteGuildRole(FlakeId userId, FlakeId guildId, FlakeId roleId);
    void modifyGuildRolePositions(FlakeId userId, FlakeId guildId,
                                  QVector<DisGuildPosition> const& positions);
    void addRoleToGuildMember(FlakeId userId, FlakeId guildId, FlakeId memberId, FlakeId roleId);
    void removeRoleFromGuildmember(FlakeId userId, FlakeId guildId, FlakeId memberId,
                                   FlakeId roleId);
    DisChangeOp* removeMemberFromGuild(FlakeId userId, FlakeId guildId, FlakeId memberId,
                                       QObject* parent = nullptr);
    void modifyGuildNickOfUser(FlakeId userId, FlakeId guildId, FlakeId memberId,
                               QString const& nick);
    void addGuildBan(FlakeId userId, FlakeId guildId, FlakeId bannedId, int deleteMessageDays,
                     QString const& reason);
    DisChangeOp* removeGuildBan(FlakeId userId, FlakeId guildId, FlakeId bannedId,
                                QObject* parent = nullptr);
    void fetchGuildBans(FlakeId userId, FlakeId guildId); // into the store
    DisDreadFetchOp* fetchGuildBans(FlakeId userId, FlakeId guildId, QObject* parent); // and there
    void createGuildEmoji(FlakeId userId, FlakeId guildId, QString const& name,
                          QByteArray const& png, QVector<FlakeId> const& roles);
    void modifyGuildEmoji(FlakeId userId, FlakeId guildId, FlakeId emojiId, QString const& name,
                          QVector<FlakeId> const& roles);
    void removeGuildEmoji(FlakeId userId, FlakeId guildId, FlakeId emojiId);

    // --- settings ---
    DisChangeOp* setUserGuildPositions(FlakeId userId, QVector<FlakeId> const& guildIds,
                                       QObject* parent = nullptr);
    DisChangeOp* setGuildNotificationSettings(FlakeId userId, FlakeId guildId,
                                              DisGuildNotificationSettings const& settings,
                                              QObject* parent = nullptr);
    // In the store only, after a change of name.
    void hack_setUserNameOverride(FlakeId userId, QString const& name);

    // --- fetches whose result goes to the caller; the handle belongs to parent ---
    DisDreadFetchOp* requestInviteInfo(FlakeId userId, QString const& code, QObject* parent);
    DisDreadFetchOp* acceptInvite(FlakeId userId, QString const& code, QObject* parent);
    // validate may be empty; maxAge is in seconds.
    DisDreadFetchOp* createGuildChannelInvite(FlakeId userId, FlakeId channelId,
                                              QString const& validate, QString const& maxAge,
                                              QObject* parent);
    DisChangeOp* removeGuildInvite(FlakeId userId, QString const& code, QObject* parent = nullptr);
    DisDreadFetchOp* fetchGuildInvites(FlakeId userId, FlakeId guildId, QObject* parent);
    DisDreadFetchOp* fetchGuildEmoji(FlakeId userId, FlakeId guildId, QObject* parent);
    DisDreadFetchOp* fetchMentions(FlakeId userId, DisClientMentionsFetchParams const& params,
                                   QObject* parent);
    DisClientAuditLogFetchOp* fetchAuditLog(FlakeId userId, FlakeId guildId,
                                            DisClientAuditLogFetchParams const& params,
                                            QObject* parent);

    // --- history: served one request a second per session; answered by channelHistoryFetched ---
    void fetchRecentHistoryForChannel(FlakeId channelId);
    void fetchChannelHistoryEarlierThanMessage(FlakeId channelId, FlakeId messageId);

    // A key was pressed in the channel's input: at most one POST every 8 seconds follows.
    void sendTyping(FlakeId userId, FlakeId channelId);

    // False if nothing was sent: one is under way, or the service gave no token for the next.
    bool trySendMessageReadAck(FlakeId userId, FlakeId channelId, FlakeId messageId);
    void sendGuildReadAck(FlakeId userId, FlakeId guildId);

    // --- gateway ---
    void setOwnUserStatus(FlakeId userId, DisUserStatusCode code, bool afk, QString const& game);
    void connectToVoiceChannel(FlakeId userId, FlakeId channelId);
    void sessionDisconnectFromVoiceChannel(FlakeId userId, FlakeId channelId);
    bool anySessionsWithVoiceLine() const;
    // Door: the voice room makes the lines, as children of parent. Until it does, no voice channel
    // is joined.
    using VoiceLineMaker =
        std::function<IDisVoiceLine*(DisVoiceConnParams const& params, QObject* parent)>;
    void setVoiceLineMaker(VoiceLineMaker const& maker);
    void synchronizePrivateChannelCalls(FlakeId userId, FlakeId channelId);
    void includeGuildsForSynchronization(FlakeId userId, QSet<FlakeId> const& guilds);
    void removeGuildsForSynchronization(FlakeId userId, QSet<FlakeId> const& guilds);
    void updateChanSegs(FlakeId userId, FlakeId guildId,
                        QVector<DisClientChanSegs> const& channels);

signals:
    void sessionsChanged();
    // The caches have dropped what is stale before anyone else sees the record.
    void disChanges(DisChanges const& changes);
    // Before the record that says so, and before the caches know. mentions: users by name.
    void messageCreated(FlakeId const& messageId, FlakeId const& channelId, FlakeId const& authorId,
                        FlakeId const& nonce, QVector<FlakeId> const& mentions = {});
    void messageAckReceived(FlakeId const& userId, FlakeId const& channelId,
                            FlakeId const& messageId);
    void directMessageChannelCreated(FlakeId const& channelId);
    // Also when the most recent page could not be had: the channel is then not among
    // channelsWithFetchedHistory() any more.
    void channelHistoryFetched(FlakeId const& channelId);
    void typingStarts(QVector<DisTypingStart> const& starts);
    void segPackage(DisSeg::Package const& package);
    void voiceLineCreated(FlakeId const& userId, FlakeId const& channelId, IDisVoiceLine* line);
    void userUnreadCountersInitialized(FlakeId const& userId, QHash<FlakeId, int> const& counts);
    void authTokenRejected(QString const& token);
    void authTokenAcquiredGatewayUrl(QString const& token, QString const& url);
    void authTokenAcquiredUserInfo(QString const& token, FlakeId const& userId,
                                   QString const& userName, QString const& discriminator,
                                   QString const& email, QString const& avatar);
    // For the one who shows boxes: text the user must see, such as a refused bot account.
    void userMustSee(QString const& title, QString const& text, bool fatal);

private:
    friend class DisSession;

    struct ReactionTarget {
        FlakeId channelId;
        FlakeId messageId;
        FlakeId emojiId; // invalid: a Unicode emoji
        QString const& emojiName;
    };

    void send(FlakeId userId, DisRestRequest const& request);
    DisChangeOp* change(FlakeId userId, DisRestRequest const& request, QObject* parent);
    DisDreadFetchOp* fetchOp(FlakeId userId, DisRestRequest const& request, QObject* parent);
    void changeReaction(DisRestOp op, FlakeId userId, ReactionTarget const& target);
    FlakeId makeNonce();
    void addPendingMessage(FlakeId nonce, DisPendingMsg const& message);
    // The gateway's MESSAGE_CREATE: an own message with a nonce is no longer pending.
    void confirmMessage(FlakeId ownUserId, DisClientImpl::DisMessageCreatedOutcome const& message);
    void sessionStateTypeChanged(DisSession* session);
    IDisVoiceLine* makeVoiceLine(DisVoiceConnParams const& params, QObject* parent) const;

    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// Set and cleared in src/app.
extern DisClient* g_disClient;
