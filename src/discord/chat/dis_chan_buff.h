// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Shows one channel's history without ever loading it: the store holds the messages, the view asks
// for the neighbour above or below what it shows, and only what is on screen exists as widgets.
// Decides when older messages are wanted, keeps the view at the newest message, turns every way of
// scrolling into pixels, and holds the selected message. User-interface thread only; needs
// g_disClient, g_disManager, g_preferences and g_globalEvents.
//
// The code: dis_chan_buff.cpp (parts, position and movement), dis_chan_buff_groups.cpp (the view's
// questions, and what its widgets show), dis_chan_buff_events.cpp (what changes, and actions).

#include "dis_buff_items.h"
#include "dis_buff_widgets.h"
#include "dis_changes.h"
#include "dis_types.h"
#include "zil_view.h"

#include <QEvent>
#include <QWidget>

#include <memory>

class BuffMidScrollHandler;
class DisBuffGroupWidget;
class DisBuffMsgContentWidget;
class QAction;
struct DisBuffGroupParams;

struct DisChanBuffHighlight {
    DisBuffHighlightType type = DisBuffHighlightType::None;
    FlakeId messageId;
};

class DisChanBuff : public QWidget, public ZilSource {
    Q_OBJECT
public:
    explicit DisChanBuff(QWidget* parent = nullptr);
    ~DisChanBuff() override;

    FlakeId channelId() const;
    void setChannelId(FlakeId channelId);

    void scrollPageUp();
    void scrollPageDown();
    void scrollEnd();
    // Follows the newest message.
    bool isStuckToEnd() const;

    DisChanBuffHighlight highlightedMessage() const;
    void setHighlightedMessage(DisChanBuffHighlight highlight);
    void clearHighlightedMessage();

    bool textSelectionEnabled() const;
    void setTextSelectionEnabled(bool enabled);
    // What is copied: the selected text of the selected message, or all of its text.
    QString selectedPlainText() const;
    QAction* copyMessageTextAction() const;

    // One calm line that stands in the middle while there is nothing to show.
    void setEmptyText(QString const& text);

    void invalidateItemCaches();

    // --- ZilSource ---
    QWidget* earlier(QWidget* widget) override;
    QWidget* later(QWidget* widget) override;
    void released(QWidget* widget) override;

    ZilView* view() const;
    DisBuffReads const& reads() const;

signals:
    void nearingEndOfAvailableMessagesWithOldestId(FlakeId oldestId);
    void selectionChangedByInteraction(FlakeId messageId);
    void editRequested(FlakeId messageId);

public slots:
    void receiveViewLayout();
    void disChanges(DisChanges const& changes);
    void receiveMessageCreated(FlakeId const& messageId, FlakeId const& channelId,
                               FlakeId const& authorId, FlakeId const& nonce);
    void receiveChannelHistoryFetched(FlakeId const& channelId);
    void receivePreferencesChanged();
    void checkOldestMessage();
    void msgAction(DisBuffMsgContentWidget* content, DisBuffMsgAction const& action);
    void ignoredUsersChanged();
    // Pixels; a positive delta moves the content down, towards older messages.
    void updateViewWithDelta(int delta);

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Priv;
    struct Anchor;
    enum class Refill { Changed, All };

    void buildParts();
    void connectParts();
    void connectSources();
    void computeContext();

    void stick();
    void unstick();
    void pinNewest();
    bool pinIfAtAnEnd(int delta);
    void startOldestCheck();
    bool isViewNearEndOfAvailableMessages();
    void updateEmptyLabel();

    int groupIndexOf(QWidget const* widget) const;
    int groupIndexOf(DisBuffSpan const& span) const;
    DisBuffGroupWidget* findOrCreateGroupWidget(DisBuffSpan const& span);
    void setAllContentsOnGroupWidget(DisBuffGroupWidget* group, DisBuffSpan const& span,
                                     Refill refill);
    DisBuffGroupParams framingOf(DisBuffSpan const& span) const;
    void setContents(DisBuffMsgContentWidget* content, DisBuffItem const& item);
    DisBuffMsgContentWidget* findContent(FlakeId id) const;
    template <typename Visitor> void forEachContent(Visitor visit) const;

    QVector<Anchor> takeAnchors() const;
    bool restoreAnchor(QVector<Anchor> const& anchors);
    void resyncGroups(Refill refill);
    DisBuffItem firstLivingItem(DisBuffGroupWidget const* group);
    void resequenceSoon();
    static QEvent::Type resequenceEventType();
    void resequence(Refill refill);
    bool confirmInPlace(DisBuffItem const& confirmed, FlakeId nonce);
    bool fitsAt(DisBuffItem const& held, DisBuffItem const& item);

    void reloadAll();
    void refreshChangedMessages(DisChanges const& changes);
    void receiveOwnPendingMessage(FlakeId nonce);
    void selectMessage(FlakeId messageId);
    void popupMenu(DisBuffItem const& item, QPoint const& globalPos);
    void popupPendingMenu(FlakeId nonce, QPoint const& globalPos);
    void cancelPending(FlakeId nonce);
    void resendPending(FlakeId nonce);
    void copySelectedMessage();

    std::unique_ptr<Priv> m_priv;
};
