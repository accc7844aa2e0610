// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The content of a tab that shows one Discord channel: topic line, messages, input box. It turns a
// typed line into a send, an edit or a typing notice. User-interface thread only; needs the
// singletons of DisChanBuff and g_disListenManager.
//
// The code: dis_channel_view.cpp (parts, tab, channel), dis_channel_view_input.cpp (what is typed).

#include "dis_types.h"
#include "flake_id.h"
#include "tabbed_widget.h"

#include <QWidget>

#include <memory>

class DisChanBuff;
class DisChatInputTextEdit;
class DisTopicLine;
struct DisChanges;
struct DisChannelState;

enum class DisChannelToolModeType { Arrow, TextSelection };

class DisChannelView : public QWidget, public INakTabbedWidget {
    Q_OBJECT
    Q_INTERFACES(INakTabbedWidget)
public:
    explicit DisChannelView(QWidget* parent = nullptr);
    ~DisChannelView() override;

    FlakeId channelId() const;
    void setChannelId(FlakeId channelId);

    // Code points in one message, as it is sent.
    static constexpr int maxMessageLength = 2000;

    // --- INakTabbedWidget ---
    QString tabText() override;
    QIcon tabIcon() override;
    QList<QAction*> tabMenuBarActions() override;
    NakNavLoc tabNavLoc() const override;
    bool tabCanSetNavLoc(NakNavLoc const& place) const override;
    void tabSetNavLoc(NakNavLoc const& place) override;
    void tabSetStatusIsVisible(bool visible) override;
    void tabPaintStatus(QWidget* widget, QPaintEvent* event) override;
    void tabAddToolBarItems(QToolBar* bar) override;

    DisChanBuff* buffer() const;
    DisChatInputTextEdit* input() const;
    DisTopicLine* topicLine() const;

signals:
    void tabDataChanged(NakTabbedDataChangeFlags flags);
    void tabStatusUpdated(QRect const& rect);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct Priv;

    void buildParts();
    void buildActions();
    void connectParts();
    void connectSources();

    void setToolMode(DisChannelToolModeType mode);
    void refreshEnabled();
    void refreshTopicText();
    void refreshState();
    void refreshInputMetrics();
    void refreshStatusText();
    DisChannelState channelState() const;
    void fetchHistoryIfWanted();
    void fetchEarlierHistory(FlakeId oldestId);
    void disChanges(DisChanges const& changes);
    void channelPropertiesChanged(quint32 props);

    void submitMessage(QString const& text);
    void showTooLongBox(int codePoints);
    void beginEditOfNewestOwnMessage();
    void beginEdit(FlakeId messageId);
    void cancelQuickEditMode();
    void keepUnsentText();
    void takeUnsentText();
    void sendTypingNotice();
    void scrollByKey(int key);

    std::unique_ptr<Priv> m_priv;
};
