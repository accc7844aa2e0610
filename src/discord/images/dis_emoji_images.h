// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Pictures of custom emoji at any height. A request is answered at once, by the placeholder until
// emojiPixmapPresented() has named the id and height. User-interface thread only.

#include "flake_id.h"
#include "shared_image.h"

#include <QObject>
#include <QUrl>

#include <memory>

class DisEmojiImages : public QObject {
    Q_OBJECT
public:
    // storePath: discord_emoji.nakdb; cdnUrl: the deployment's, without a slash at the end.
    DisEmojiImages(QString const& storePath, QString const& cdnUrl, QObject* parent);
    ~DisEmojiImages() override;

    SharedImage getEmojiImage(FlakeId emoji, int height);
    SharedImage emojiPlaceholder(int height); // a transparent square
    QUrl webUrlForEmojiId(FlakeId emoji) const;

signals:
    void emojiPixmapPresented(FlakeId const& emoji, int height, SharedImage const& image);

private:
    friend class DisEmojiImageDispenser;
    QString const m_cdnUrl;
    std::unique_ptr<class DisEmojiImageDispenser> m_dispenser;
};

// Set and cleared in src/app.
extern DisEmojiImages* g_disEmojiImages;
