// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// What the widgets of one channel buffer share: the pools that keep their construction away from
// scrolling, the statements that read what a message shows, and the style. Owned by the buffer.
// User-interface thread only.

#include "dis_buff_items.h"
#include "dis_buff_style.h"
#include "dis_text_document.h"

#include <QObject>
#include <QPoint>
#include <QStringList>
#include <QVector>

class DisBuffGroupWidget;
class DisBuffMsgContentWidget;

enum class DisBuffHighlightType : int { None = 0, Selected = 1, Editing = 2 };

struct DisBuffMsgAction {
    enum class Type : int { Click = 0, ContextMenu = 1, Select = 2 };

    Type type = Type::Click;
    QPoint globalPos;
};

// What one message shows, read from the store or from the pending record.
struct DisBuffContent {
    QString text;
    DisText::ContentMode::Type mode = DisText::ContentMode::Normal;
    // Lines that stand for what is not text, in a message that has none: file names and addresses.
    QStringList notes;
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

    // More notes than this are left out.
    static constexpr int maxNotes = 8;

signals:
    void messageAction(DisBuffMsgContentWidget* content, DisBuffMsgAction const& action);

private:
    DisBuffContent loadConfirmed(FlakeId id);
    QStringList loadNotes(FlakeId id);
    void appendNotes(QStringList& notes, NakStmt& stmt, FlakeId id, QString (*noteOfRow)(NakStmt&));

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
