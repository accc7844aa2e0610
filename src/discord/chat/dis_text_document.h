// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The text of messages as laid-out documents. Documents are expensive to make and cheap to refill,
// so the manager keeps a pool of them, and the formats that all share. User-interface thread only;
// filling reads DisCache and DisUtils.

#include "flake_id.h"

#include <QObject>
#include <QStringRef>
#include <QTextDocument>

#include <memory>

class DisTextDocumentManager;
class SharedImage;
struct DisChanges;
struct DisTextDocumentManagerPriv;
class QTextCharFormat;

namespace DisText {

namespace ContentMode {
enum Type : int {
    Normal = 0,
    Edited = 1, // " [edited]" behind the text
    Deleted = 2, // "[deleted]" instead of the text
    Action = 3, // "[action] " before the text, which is italic
};
}

struct ContentParams {
    QStringRef text;
    FlakeId guildId; // invalid: no guild, so no role colours
    ContentMode::Type mode = ContentMode::Normal;
};

} // namespace DisText

class DisTextDocument : public QTextDocument {
    Q_OBJECT
public:
    ~DisTextDocument() override;

    void setFromParams(DisText::ContentParams const& params);
    void clear() override;
    // Drops the bookkeeping and keeps the text.
    void clearResourcesOnly();
    // Back to the pool: the text stays until the next fill. Deletes itself if the manager is gone.
    void release();

    bool hasCodeBlock() const;

signals:
    void needsRepaintOnly();
    void needsReparse();

private:
    friend class DisTextDocumentManager;
    friend struct DisTextDocumentManagerPriv;
    DisTextDocument(DisTextDocumentManager* manager, QObject* parent);

    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// One object for the whole program. Needs g_preferences from the first document on; reads
// g_globalEvents, g_disClient and g_disEmojiImages when it is built, and does without them if they
// are null.
class DisTextDocumentManager : public QObject {
    Q_OBJECT
public:
    explicit DisTextDocumentManager(QObject* parent = nullptr);
    ~DisTextDocumentManager() override;

    // An empty or stale document that belongs to parent until it is released. Never null.
    DisTextDocument* takeTextDocument(QObject* parent);
    // Makes the first documents and the formats; the first take does it too.
    void lazySetup();

    QTextCharFormat const& selectionFormat() const;

public slots:
    // Tells each document that mentions a changed user to be filled again.
    void disChanges(DisChanges const& changes);
    // Repaints each document that shows the emoji at that height.
    void emojiPixmapPresented(FlakeId const& id, int height, SharedImage const& image);
    // Rebuilds the formats and tells every document with content to be filled again.
    void prefsChanged();

private:
    friend class DisTextDocument;
    std::unique_ptr<DisTextDocumentManagerPriv> m_priv;
};

// Set and cleared in src/app.
extern DisTextDocumentManager* g_disTextDocumentManager;
