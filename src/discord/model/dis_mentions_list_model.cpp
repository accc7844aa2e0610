// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_mentions_list_model.h"

#include "dis_client.h"
#include "dis_request.h"

namespace {

constexpr qint32 pageSize = 25;
constexpr int maxMentions = 5'000;

QString textOf(Dread::Ctx const& ctx, Dread::VMap const& map, char const* key)
{
    Dread::VString text;
    Dread::find(ctx, map, key, &text);
    return Dread::toQString(text);
}

} // namespace

DisMentionsListModel::DisMentionsListModel(FlakeId user, QObject* parent)
    : QAbstractListModel(parent)
    , m_user(user)
{
}

DisMentionsListModel::~DisMentionsListModel() = default;

void DisMentionsListModel::reload()
{
    if (m_state != State::Fetching)
        fetch(FlakeId());
}

int DisMentionsListModel::rowCount(QModelIndex const& parent) const
{
    return parent.isValid() ? 0 : m_mentions.size();
}

QVariant DisMentionsListModel::data(QModelIndex const& index, int role) const
{
    Mention const& mention = m_mentions.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return QString(mention.authorName + QLatin1String(": ") + mention.content);
    case MessageIdRole:
        return QVariant::fromValue(mention.message);
    case ChannelIdRole:
        return QVariant::fromValue(mention.channel);
    case AuthorIdRole:
        return QVariant::fromValue(mention.author);
    case ContentRole:
        return mention.content;
    default:
        return {};
    }
}

// Not by itself after a failure: a view would ask again at once, without end.
bool DisMentionsListModel::canFetchMore(QModelIndex const& parent) const
{
    return !parent.isValid() && m_state == State::Idle && !m_isWhole;
}

void DisMentionsListModel::fetchMore(QModelIndex const& parent)
{
    if (canFetchMore(parent))
        fetch(m_mentions.isEmpty() ? FlakeId() : m_mentions.last().message);
}

void DisMentionsListModel::fetch(FlakeId before)
{
    DisClientMentionsFetchParams params;
    params.limit = pageSize;
    params.before = before;
    auto* const op = g_disClient->fetchMentions(m_user, params, this);
    connect(op, &DisRequest::finished, this,
            [this, op, first = !before.isValid()] { receive(op, first); });
    setState(State::Fetching);
}

void DisMentionsListModel::receive(DisDreadFetchOp* op, bool first)
{
    op->deleteLater();
    if (op->error() != DisRequest::Error::None)
        return setState(State::Failed);
    auto const page = read(*op);
    if (first) {
        beginResetModel();
        m_mentions = page;
        endResetModel();
    } else if (!page.isEmpty()) {
        beginInsertRows({}, m_mentions.size(), m_mentions.size() + page.size() - 1);
        m_mentions += page;
        endInsertRows();
    }
    m_isWhole = page.size() < pageSize || m_mentions.size() >= maxMentions;
    setState(State::Idle);
}

QVector<DisMentionsListModel::Mention> DisMentionsListModel::read(DisDreadFetchOp const& op)
{
    QVector<Mention> page;
    auto const data = op.fetchedData();
    if (data->root.tag != Dread::Tag::List)
        return page;
    for (quint32 n = 0; n < data->root.list.count && page.size() < pageSize; ++n) {
        Mention mention;
        Dread::VMap map;
        Dread::VMap author;
        if (!Dread::toMap(&Dread::listAt(data->ctx, data->root.list, n), &map)
            || !Dread::find(data->ctx, map, "id", &mention.message))
            continue;
        Dread::find(data->ctx, map, "channel_id", &mention.channel);
        Dread::find(data->ctx, map, "author", &author);
        Dread::find(data->ctx, author, "id", &mention.author);
        mention.authorName = textOf(data->ctx, author, "username");
        mention.content = textOf(data->ctx, map, "content");
        page.append(mention);
    }
    return page;
}

void DisMentionsListModel::setState(State state)
{
    m_state = state;
    emit stateChanged();
}
