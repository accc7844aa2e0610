// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the widgets of one channel buffer share: the pools that keep their construction away from
// scrolling, the statements that read what a message shows, and the style. Owned by the buffer.
// User-interface thread only.

#include "dis_buff_items.h"
#include "dis_buff_pictures.h"
#include "dis_buff_style.h"
#include "dis_text_document.h"

#include <QObject>
#include <QPoint>
#include <QVector>

class DisBuffGroupWidget;
class DisBuffMsgContentWidget;

enum class DisBuffHighlightType : int { None = 0, Selected = 1, Editing = 2 };

struct DisBuffMsgAction {
    enum class Type : int { Click = 0, ContextMenu = 1, Select = 2 };

    Type type = Type::Click;
    QPoint globalPos;
};

// A line that stands for what is not text.
struct DisBuffNote {
    QString text;
    QUrl url; // what a click opens; may be empty
};

// What one message shows, read from the store or from the pending record.
struct DisBuffContent {
    QString text;
    DisText::ContentMode::Type mode = DisText::ContentMode::Normal;
    QVector<DisBuffPicture> pictures;
    // Files; and what is not shown as a picture, in a message without text.
    QVector<DisBuffNote> notes;
};

class DisBuffWidgetsManager : public QObject {
    Q_OBJECT
public:
    struct Sources {
        sqlite3* db = nullptr;
        DisBuffReads* reads = nullptr;
        QMap<FlakeId, DisPendingMsg> const* pending = nullptr;
    };

    explicit DisBuffWidgetsManager(Sources const& sources, QObject* parent = nullptr);
    ~DisBuffWidgetsManager() override;

    // The caller owns what it takes, and gives back what it owns; a widget that is given back has
    // no parent.
    DisBuffGroupWidget* takeGroupWidget();
    void releaseGroupWidget(DisBuffGroupWidget* group);
    DisBuffMsgContentWidget* takeContentWidget();
    void releaseContentWidget(DisBuffMsgContentWidget* content);

    DisBuffStyle const& style() const { return m_style; }
    // The preferences, the palette or the resolution changed; the widgets are told by the buffer.
    void updateStyle();

    // A message without a row shows an empty text.
    DisBuffContent loadContent(DisBuffItem const& item);

    // More notes, or pictures, than this are left out.
    static constexpr int maxNotes = 8;

signals:
    void messageAction(DisBuffMsgContentWidget* content, DisBuffMsgAction const& action);

private:
    DisBuffContent loadConfirmed(FlakeId id);
    void loadPictures(DisBuffContent& content, FlakeId id);
    void loadNotes(DisBuffContent& content, FlakeId id);
    // Calls take with each row that the statement has of the message.
    template <typename Take> void forEachRow(NakStmt& stmt, FlakeId id, Take take);

    Sources m_sources;
    NakStmt m_messageStmt;
    NakStmt m_imageEmbedsStmt;
    NakStmt m_richEmbedsStmt;
    NakStmt m_imageAttachmentsStmt;
    NakStmt m_fileAttachmentsStmt;
    DisBuffStyle m_style;
    QVector<DisBuffGroupWidget*> m_freeGroups;
    QVector<DisBuffMsgContentWidget*> m_freeContents;
};
