// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// One message below the header of its group: its text, its pictures, and lines that stand for what
// it has beside them. All places are known before a picture is there.
// Pooled by DisBuffWidgetsManager, which must outlive it. User-interface thread only.

#include "dis_buff_widgets.h"

#include <QWidget>

class DisMsgContentHighlightFrame;
class DisTextView;
class NakWebImageDisplay;

// Where the parts of one message are, in its widget's coordinates. Paint and hit test read this.
struct DisBuffMsgLayout {
    struct Note {
        QRect rect;
        QString text; // elided to the rectangle
        QUrl url;
    };

    int width = -1;
    int height = 0;
    QRect text; // empty when there is no text
    QVector<QRect> pictures;
    QVector<Note> notes;
    QRect time; // empty when times are not shown
};

class DisBuffMsgContentWidget : public QWidget {
    Q_OBJECT
public:
    explicit DisBuffMsgContentWidget(DisBuffWidgetsManager* manager);
    ~DisBuffMsgContentWidget() override;

    DisBuffItem const& buffItem() const { return m_item; }
    // Reads the message anew, in any case.
    void setContents(FlakeId channelId, DisBuffItem const& item);

    DisBuffHighlightType highlight() const { return m_highlight; }
    void setHighlight(DisBuffHighlightType type);

    bool textSelectionEnabled() const;
    void setTextSelectionEnabled(bool enabled);
    void clearTextSelection();
    QString selectedPlainText() const;

    // Gives back what pictures and emoji hold, and keeps the text.
    void clearResourcesOnly();

    int heightForWidth(int width) const override;
    DisBuffMsgLayout const& currentLayout() const { return m_layout; }

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void act(DisBuffMsgAction::Type type, QPoint const& globalPos);
    void showPictures(QVector<DisBuffPicture> const& pictures);
    void placeParts();
    void layoutRequested();

    DisBuffWidgetsManager* m_manager;
    DisTextView* m_textView;
    DisMsgContentHighlightFrame* m_frame = nullptr; // made on first use
    DisBuffItem m_item;
    QVector<QSize> m_pictureSizes;
    QVector<NakWebImageDisplay*> m_displays; // kept for the next message; the first ones are in use
    QVector<DisBuffNote> m_notes;
    QString m_timeText;
    bool m_hasText = false;
    DisBuffHighlightType m_highlight = DisBuffHighlightType::None;
    mutable DisBuffMsgLayout m_layout; // for the width asked for last
};
