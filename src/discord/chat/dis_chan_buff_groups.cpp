// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "dis_buff_msg_content_widget.h"
#include "dis_chan_buff.h"
#include "dis_chan_buff_p.h"

#include <QCoreApplication>

#include <algorithm>
#include <utility>

// --- the view's questions ---

QWidget* DisChanBuff::earlier(QWidget* widget)
{
    int const index = groupIndexOf(widget);
    if (index < 0) {
        return nullptr;
    }
    DisBuffReads::Scope const scope(m_priv->reads);
    DisBuffSpan const span = m_priv->items.findAdjacentSpans(m_priv->groups.at(index).span).earlier;
    return span.isValid() ? findOrCreateGroupWidget(span) : nullptr;
}

QWidget* DisChanBuff::later(QWidget* widget)
{
    int const index = groupIndexOf(widget);
    if (index < 0) {
        return nullptr;
    }
    DisBuffReads::Scope const scope(m_priv->reads);
    DisBuffSpan const span = m_priv->items.findAdjacentSpans(m_priv->groups.at(index).span).later;
    return span.isValid() ? findOrCreateGroupWidget(span) : nullptr;
}

void DisChanBuff::released(QWidget* widget)
{
    int const index = groupIndexOf(widget);
    if (index < 0) {
        return;
    }
    DisBuffGroupWidget* group = m_priv->groups.at(index).widget;
    m_priv->groups.remove(index);
    group->clearResourcesOnly();
    m_priv->widgets->releaseGroupWidget(group);
}

// --- groups ---

int DisChanBuff::groupIndexOf(QWidget const* widget) const
{
    auto const& groups = m_priv->groups;
    auto const it = std::find_if(groups.cbegin(), groups.cend(),
                                 [widget](DisBuffGroup const& g) { return g.widget == widget; });
    return it == groups.cend() ? -1 : static_cast<int>(it - groups.cbegin());
}

int DisChanBuff::groupIndexOf(DisBuffSpan const& span) const
{
    auto const& groups = m_priv->groups;
    auto const it = std::find_if(groups.cbegin(), groups.cend(),
                                 [&span](DisBuffGroup const& g) { return g.span == span; });
    return it == groups.cend() ? -1 : static_cast<int>(it - groups.cbegin());
}

DisBuffGroupWidget* DisChanBuff::findOrCreateGroupWidget(DisBuffSpan const& span)
{
    int const index = groupIndexOf(span);
    if (index >= 0) {
        return m_priv->groups.at(index).widget;
    }
    DisBuffGroupWidget* group = m_priv->widgets->takeGroupWidget();
    setAllContentsOnGroupWidget(group, span, Refill::All);
    m_priv->groups.append({ span, group });
    return group;
}

void DisChanBuff::setAllContentsOnGroupWidget(DisBuffGroupWidget* group, DisBuffSpan const& span,
                                              Refill refill)
{
    group->setFramingContent(framingOf(span));
    int const before = group->contents().size();
    int count = 0;
    bool changed = false;
    for (DisBuffItem item = span.first; item.isValid();) {
        bool const fresh = count == group->contents().size();
        DisBuffMsgContentWidget* content =
            fresh ? group->appendContent() : group->contents().at(count);
        if (fresh || refill == Refill::All || content->buffItem() != item) {
            setContents(content, item);
            changed = true;
        }
        ++count;
        if (item.id == span.last.id) {
            break;
        }
        item = m_priv->items.findAdjacentItems(item).later;
    }
    group->truncateContents(count);
    // Most groups stay as they are when a message comes, and are neither placed nor painted again.
    if (changed || count != before) {
        group->invalidateLayout();
    }
}

DisBuffGroupParams DisChanBuff::framingOf(DisBuffSpan const& span) const
{
    DisBuffGroupParams params;
    params.authorId = span.first.authorId;
    params.guildId = m_priv->context.guildId;
    params.timestamp = span.first.timestamp;
    params.timestampKnown = !span.first.isPending() || m_priv->items.pendingRecord(span.first);
    return params;
}

void DisChanBuff::setContents(DisBuffMsgContentWidget* content, DisBuffItem const& item)
{
    content->setContents(m_priv->items.channelId(), item);
    content->setTextSelectionEnabled(m_priv->textSelection);
    bool const marked = item.id == m_priv->highlight.messageId;
    content->setHighlight(marked ? m_priv->highlight.type : DisBuffHighlightType::None);
}

DisBuffMsgContentWidget* DisChanBuff::findContent(FlakeId id) const
{
    DisBuffMsgContentWidget* found = nullptr;
    forEachContent([&](DisBuffMsgContentWidget* content) {
        found = content->buffItem().id == id ? content : found;
    });
    return found;
}

// --- the sequence changed around what is shown ---

// Every message that is held, in the order in which it may serve: first those that begin within the
// view, from the top, since these are what is read.
QVector<DisChanBuff::Anchor> DisChanBuff::takeAnchors() const
{
    QVector<Anchor> anchors;
    QVector<Anchor> others;
    QVector<ZilViewItem> items;
    m_priv->view->items(items);
    for (ZilViewItem const& item : qAsConst(items)) {
        auto const* group = static_cast<DisBuffGroupWidget const*>(item.widget);
        for (DisBuffMsgContentWidget const* content : group->contents()) {
            int const top = item.top + content->y();
            bool const begins = top >= 0 && top < m_priv->view->height();
            (begins ? anchors : others).append({ content->buffItem(), top });
        }
    }
    // Of those above the view the nearest is the best.
    std::reverse(others.begin(), others.end());
    return anchors + others;
}

bool DisChanBuff::restoreAnchor(QVector<Anchor> const& anchors)
{
    auto const anchor = std::find_if(anchors.cbegin(), anchors.cend(), [this](Anchor const& a) {
        return m_priv->items.exists(a.item);
    });
    if (anchor == anchors.cend()) {
        return false;
    }
    DisBuffGroupWidget* group =
        findOrCreateGroupWidget(m_priv->items.findSpanContainingItem(anchor->item));
    auto const& contents = group->contents();
    auto const content = std::find_if(
        contents.cbegin(), contents.cend(),
        [&anchor](DisBuffMsgContentWidget const* c) { return c->buffItem() == anchor->item; });
    if (content == contents.cend()) {
        return false;
    }
    int const index = static_cast<int>(content - contents.cbegin());
    m_priv->view->adaptOffset(group, anchor->top - group->contentTop(index, m_priv->view->width()));
    return true;
}

// Points every group that is held at the span in which its messages are now, and fills in what is
// missing. The widgets stay, so that what is on screen need not be made again; a group whose
// messages have all gone, or which became part of another, keeps its old span: no neighbour leads
// to it any more, so the view gives it back with the next layout.
void DisChanBuff::resyncGroups(Refill refill)
{
    for (int i = 0; i < m_priv->groups.size(); ++i) {
        DisBuffGroup const group = m_priv->groups.at(i);
        DisBuffItem const living = firstLivingItem(group.widget);
        if (!living.isValid()) {
            continue;
        }
        DisBuffSpan const span = m_priv->items.findSpanContainingItem(living);
        int const holder = groupIndexOf(span);
        if (holder >= 0 && holder != i) {
            continue;
        }
        m_priv->groups[i].span = span;
        setAllContentsOnGroupWidget(group.widget, span, refill);
    }
}

DisBuffItem DisChanBuff::firstLivingItem(DisBuffGroupWidget const* group)
{
    for (DisBuffMsgContentWidget const* content : group->contents()) {
        if (m_priv->items.exists(content->buffItem())) {
            return content->buffItem();
        }
    }
    return {};
}

// A burst of messages is one pass over the groups: the event comes behind all that stand in the
// queue now. The first message of all shows at once.
void DisChanBuff::resequenceSoon()
{
    if (m_priv->view->count() == 0) {
        resequence(Refill::Changed);
    } else if (!m_priv->resequencePosted) {
        m_priv->resequencePosted = true;
        QCoreApplication::postEvent(this, new QEvent(resequenceEventType()), Qt::LowEventPriority);
    }
}

QEvent::Type DisChanBuff::resequenceEventType()
{
    static int const type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

void DisChanBuff::resequence(Refill refill)
{
    if (std::exchange(m_priv->resequencePosted, false)) {
        QCoreApplication::removePostedEvents(this, resequenceEventType());
    }
    DisBuffReads::Scope const scope(m_priv->reads);
    QVector<Anchor> const anchors = m_priv->stuckToEnd ? QVector<Anchor>() : takeAnchors();
    invalidateItemCaches();
    resyncGroups(refill);
    bool const any = m_priv->items.newestSpan().isValid();
    if (!any) {
        m_priv->view->clear();
    } else if (m_priv->stuckToEnd || !restoreAnchor(anchors)) {
        stick();
        pinNewest();
    }
    updateEmptyLabel();
    startOldestCheck();
}

// The pending message that the service confirmed becomes that message where it stands, if that is
// its place. The times of the two differ, and so may what they are grouped with.
bool DisChanBuff::confirmInPlace(DisBuffItem const& confirmed, FlakeId nonce)
{
    for (DisBuffGroup& group : m_priv->groups) {
        auto const& contents = group.widget->contents();
        for (int i = 0; i < contents.size(); ++i) {
            DisBuffItem const before = contents.at(i)->buffItem();
            if (!before.isPending() || before.id != nonce) {
                continue;
            }
            invalidateItemCaches();
            DisBuffSpan span = group.span;
            span.first = i == 0 ? confirmed : span.first;
            span.last = i == contents.size() - 1 ? confirmed : span.last;
            if (!fitsAt(before, confirmed)
                || m_priv->items.findSpanContainingItem(confirmed) != span) {
                return false;
            }
            group.span = span;
            setContents(contents.at(i), confirmed);
            if (i == 0) {
                group.widget->setFramingContent(framingOf(span));
            }
            return true;
        }
    }
    return false;
}

// Whether what stands next to the held item, in groups beside its own too, are the neighbours that
// another has in the sequence.
bool DisChanBuff::fitsAt(DisBuffItem const& held, DisBuffItem const& item)
{
    QVector<ZilViewItem> groups;
    m_priv->view->items(groups);
    QVector<DisBuffItem> shown;
    for (ZilViewItem const& group : qAsConst(groups)) {
        auto const* widget = static_cast<DisBuffGroupWidget const*>(group.widget);
        for (DisBuffMsgContentWidget const* content : widget->contents()) {
            shown.append(content->buffItem());
        }
    }
    int const index = shown.indexOf(held);
    DisBuffAdjacentItems const around = m_priv->items.findAdjacentItems(item);
    return index >= 0 && shown.value(index - 1) == around.earlier
        && shown.value(index + 1) == around.later;
}
