// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_jump_matcher.h"

#include "dis_avatar_images.h"
#include "dis_cache.h"
#include "dis_client.h"
#include "dis_guild_picture.h"
#include "dis_manager.h"
#include "dis_utils.h"
#include "run_on_pool.h"

#include <QSet>

#include <algorithm>

namespace {

constexpr ushort peopleGlyph = 61632; // of a group

// The other one of a pair; invalid for a group.
FlakeId partnerIn(FlakeId channel)
{
    if (DisCache::channelType(channel) != DisChannelType::Private)
        return {};
    FlakeId const ownUser = g_disManager->activeUserId();
    for (FlakeId const user : DisCache::privateChannelParticipants(channel)) {
        if (user != ownUser)
            return user;
    }
    return {};
}

// What tells the channel from another of that name.
QString detailOf(FlakeId channel)
{
    FlakeId const guild = DisCache::guildIdOfChannel(channel);
    if (guild.isValid())
        return DisCache::guildName(guild);
    FlakeId const partner = partnerIn(channel);
    return partner.isValid() ? DisCache::userDiscrimWithHash(partner) : QString();
}

} // namespace

DisJumpMatcher::DisJumpMatcher(NakJump::MatcherCtorParams const& params)
    : NakJumpMatcher(params)
{
    if (!g_disAvatarImages)
        return;
    connect(g_disAvatarImages, &DisAvatarImages::avatarPresented, this,
            &DisJumpMatcher::reloadPictures);
    connect(g_disAvatarImages, &DisAvatarImages::guildIconPresented, this,
            &DisJumpMatcher::reloadPictures);
}

DisJumpMatcher::~DisJumpMatcher() = default;

// --- searching ---

void DisJumpMatcher::setQueryString(QString const& query)
{
    if (m_taskRuns)
        m_nextQuery = query;
    else
        runTask(query);
}

void DisJumpMatcher::runTask(QString const& query)
{
    m_taskRuns = true;
    DisJumpSearch::Query task{ query, g_disManager->activeUserId(), {} };
    for (Shown const& shown : qAsConst(m_shown))
        task.shown.append(shown.channel);
    Utils::runOnPool(this, [this, task, dbPath = g_disClient->dbPath()] {
        return [this, matches = DisJumpSearch::search(dbPath, task)] { finishTask(matches); };
    });
}

void DisJumpMatcher::finishTask(QVector<DisJumpSearch::Match> const& matches)
{
    QSet<FlakeId> matching;
    for (DisJumpSearch::Match const& match : matches)
        matching.insert(match.channel);
    QVector<unsigned int> removed;
    QSet<FlakeId> kept;
    auto const leaves = [&](Shown const& shown) {
        if (matching.contains(shown.channel)) {
            kept.insert(shown.channel);
            return false;
        }
        removed.append(shown.item);
        return true;
    };
    m_shown.erase(std::remove_if(m_shown.begin(), m_shown.end(), leaves), m_shown.end());
    NakJump::Added added;
    for (DisJumpSearch::Match const& match : matches) {
        if (kept.contains(match.channel))
            continue;
        m_shown.append({ match.channel, m_items.CreateID() });
        added.append({ m_shown.constLast().item, match.info });
    }
    updateMatches(removed, added);
    // Not before, so that no number means two rows in one message.
    for (unsigned int const item : qAsConst(removed)) {
        m_items.DestroyID(item);
        m_vis.remove(item);
    }
    m_taskRuns = false;
    if (auto const next = std::exchange(m_nextQuery, std::nullopt))
        runTask(*next);
}

FlakeId DisJumpMatcher::channelOf(unsigned int item) const
{
    auto const shown = std::find_if(m_shown.cbegin(), m_shown.cend(),
                                    [item](Shown const& one) { return one.item == item; });
    return shown == m_shown.cend() ? FlakeId() : shown->channel;
}

void DisJumpMatcher::activated(unsigned int item, NakJump::ActivationOpts const& options)
{
    FlakeId const channel = channelOf(item);
    if (channel.isValid())
        openPlace(NakNavLoc::discordChannel(channel), options);
}

// --- rows on screen ---

void DisJumpMatcher::visibleItemsChanged(QVarLengthArray<unsigned int, 32> const& items)
{
    QHash<unsigned int, Vis> vis;
    for (unsigned int const item : items) {
        auto const old = m_vis.constFind(item);
        vis.insert(item, old == m_vis.cend() ? loadVis(channelOf(item)) : *old);
    }
    m_vis = vis;
}

DisJumpMatcher::Vis DisJumpMatcher::loadVis(FlakeId channel) const
{
    return { NakJump::RowText(DisUtils::channelDisplayName(channel, g_disManager->activeUserId()),
                              detailOf(channel)),
             loadPicture(channel) };
}

QPixmap DisJumpMatcher::loadPicture(FlakeId channel) const
{
    int const size = defaultDecorationSize().height();
    FlakeId const guild = DisCache::guildIdOfChannel(channel);
    if (guild.isValid())
        return disGuildPicture(guild, size);
    FlakeId const partner = partnerIn(channel);
    if (partner.isValid() && g_disAvatarImages)
        return g_disAvatarImages->getAvatar(partner, size).pixmap();
    return {};
}

void DisJumpMatcher::reloadPictures()
{
    for (auto vis = m_vis.begin(); vis != m_vis.end(); ++vis) {
        vis->picture = loadPicture(channelOf(vis.key()));
        invalidateItem(vis.key());
    }
}

int DisJumpMatcher::itemHeight(unsigned int /*item*/)
{
    return jumpStyle().rowHeight;
}

void DisJumpMatcher::paintItem(QPainter* painter, QRegion const& /*region*/, unsigned int item,
                               NakJump::PaintOptions const& options)
{
    drawBackground(painter, options);
    auto const vis = m_vis.find(item);
    if (vis == m_vis.end())
        return;
    if (vis->picture.isNull())
        drawGlyph(painter, peopleGlyph, options);
    else
        drawDecoration(painter, vis->picture, options);
    drawText(painter, &vis->text, options);
}
