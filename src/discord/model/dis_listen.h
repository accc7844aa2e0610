// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Listeners: small objects that a widget holds. Each is given an identifier, keeps the properties
// of that thing ready to paint, and emits one signal when one of them really changed. The manager
// routes each change to the listeners concerned. User-interface thread only.

#include "dis_changes.h"
#include "dis_seg.h"
#include "dis_types.h"
#include "shared_image.h"

#include <QColor>
#include <QObject>
#include <QString>
#include <QVector>

#include <functional>
#include <memory>

struct DisSegList;

namespace DisListen {

struct UserParams {
    FlakeId userId;
    FlakeId guildId; // for nick and role colour; may be invalid
    int avatarSize = -1; // pixels; -1 for none

    friend bool operator==(UserParams const& a, UserParams const& b)
    {
        return a.userId == b.userId && a.guildId == b.guildId && a.avatarSize == b.avatarSize;
    }
};

struct ChannelParams {
    FlakeId channelId;
    FlakeId ownUserId;

    friend bool operator==(ChannelParams const& a, ChannelParams const& b)
    {
        return a.channelId == b.channelId && a.ownUserId == b.ownUserId;
    }
};

struct GuildParams {
    FlakeId guildId;

    friend bool operator==(GuildParams const& a, GuildParams const& b)
    {
        return a.guildId == b.guildId;
    }
};

// Rows of a channel's member list.
struct SegParams {
    FlakeId guildId;
    FlakeId channelId;
    QVector<DisSegRange> ranges;

    friend bool operator==(SegParams const& a, SegParams const& b)
    {
        return a.guildId == b.guildId && a.channelId == b.channelId && a.ranges == b.ranges;
    }
};

namespace UserProps {
enum Type : quint32 {
    Name = 1,
    Discriminator = 2,
    Nick = 4,
    Avatar = 8,
    RoleColor = 16,
    Status = 32
};
}
namespace ChannelProps {
enum Type : quint32 { Name = 1, Image = 2 };
}
namespace GuildProps {
enum Type : quint32 { Name = 1, Image = 2 };
}

} // namespace DisListen

class DisUserListener : public QObject {
    Q_OBJECT
public:
    explicit DisUserListener(QObject* parent = nullptr);
    ~DisUserListener() override;

    // Reads the properties at once and emits nothing for this first fill.
    void setParams(DisListen::UserParams const& params);
    void clear();
    DisListen::UserParams const& params() const { return m_params; }
    bool isNull() const { return !m_params.userId.isValid(); }

    QString userName() const { return m_name; }
    QString userDiscrim() const { return m_discrim; } // with its hash sign
    QString userNick() const { return m_nick; } // null if none
    SharedImage const& userAvatar() const { return m_avatar; } // empty without a size
    QColor userRoleColor() const { return m_roleColor; } // invalid if none
    DisUserStatusCode userStatusCode() const { return m_status; }

signals:
    void propertiesChanged(quint32 userProps);

private:
    friend class DisListenManager;
    quint32 readProperties(quint32 userProps); // those that differ from before

    DisListen::UserParams m_params;
    QString m_name;
    QString m_discrim;
    QString m_nick;
    SharedImage m_avatar;
    QColor m_roleColor;
    DisUserStatusCode m_status = DisUserStatusCode::Unknown;
};

class DisChannelListener : public QObject {
    Q_OBJECT
public:
    explicit DisChannelListener(QObject* parent = nullptr);
    ~DisChannelListener() override;

    void setParams(DisListen::ChannelParams const& params);
    void clear();
    DisListen::ChannelParams const& params() const { return m_params; }
    bool isNull() const { return !m_params.channelId.isValid(); }

    QString channelName() const { return m_name; } // as a tab shows it
    DisChannelType channelType() const { return m_type; }
    FlakeId guildId() const { return m_guildId; }
    FlakeId otherUserId() const { return m_otherUserId; } // of a pair; else invalid

signals:
    void propertiesChanged(quint32 channelProps);

private:
    friend class DisListenManager;
    quint32 readProperties(quint32 channelProps);

    DisListen::ChannelParams m_params;
    QString m_name;
    DisChannelType m_type = DisChannelType::Unknown;
    FlakeId m_guildId;
    FlakeId m_otherUserId;
};

class DisGuildListener : public QObject {
    Q_OBJECT
public:
    explicit DisGuildListener(QObject* parent = nullptr);
    ~DisGuildListener() override;

    void setParams(DisListen::GuildParams const& params);
    void clear();
    DisListen::GuildParams const& params() const { return m_params; }
    bool isNull() const { return !m_params.guildId.isValid(); }

    QString guildName() const { return m_name; }

signals:
    void propertiesChanged(quint32 guildProps);

private:
    friend class DisListenManager;
    quint32 readProperties(quint32 guildProps);

    DisListen::GuildParams m_params;
    QString m_name;
};

class DisTypingUsersListener : public QObject {
    Q_OBJECT
public:
    explicit DisTypingUsersListener(QObject* parent = nullptr);
    ~DisTypingUsersListener() override;

    FlakeId channelId() const { return m_channelId; }
    void setChannelId(FlakeId channel);
    void clear();

    // In the order in which they began, without the own user.
    QVector<FlakeId> typingUsers() const;
    static constexpr int maxTrackedUsers() { return 10; }

signals:
    void typingUsersChanged();

private:
    friend class DisListenManager;
    FlakeId m_channelId;
};

// The rows of a channel's member list that a widget shows. They are asked for in a moment and come
// when the service sends them; the channels of a guild that the same people may read share theirs.
class DisSegListener : public QObject {
    Q_OBJECT
public:
    explicit DisSegListener(QObject* parent = nullptr);
    ~DisSegListener() override;

    void setParams(DisListen::SegParams const& params);
    void clear();
    DisListen::SegParams const& params() const { return m_params; }
    bool isNull() const { return !m_params.channelId.isValid(); }

    int rowCount() const; // members and headings, told or not
    QVector<DisSeg::Group> groups() const; // in the order of the list
    // Null while the row is not told; valid until the next change.
    DisSeg::Item const* row(int index) const;

signals:
    void segChanged();

private:
    friend class DisListenManager;
    DisSegList const* list() const; // null while nothing is told

    DisListen::SegParams m_params;
    QString m_listId;
};

class DisListenManager : public QObject {
    Q_OBJECT
public:
    explicit DisListenManager(QObject* parent);
    ~DisListenManager() override;

    // Milliseconds of a clock that never goes back; the system's, unless a test brings another.
    void setClock(std::function<qint64()> const& msecs);
    // Drops who has typed nothing for 10 seconds; called once a second while somebody types.
    void typingTimeout();

    struct Impl;

private:
    friend class DisUserListener;
    friend class DisChannelListener;
    friend class DisGuildListener;
    friend class DisTypingUsersListener;
    friend class DisSegListener;
    Impl& impl() { return *m_impl; }
    void disChanges(DisChanges const& changes);
    void typingStarts(QVector<DisTypingStart> const& starts);
    void avatarPresented(FlakeId user, int height);
    void segUpdateTimeout();
    void segPackage(DisSeg::Package const& package);

    std::unique_ptr<Impl> m_impl;
};

// Set and cleared in src/app.
extern DisListenManager* g_disListenManager;
