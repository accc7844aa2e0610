// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A store of its own with a few known names, the caches in front of it, preferences with known
// fonts and a document manager: what texts need to come on screen.

#include "dis_client.h"
#include "dis_emoji_images.h"
#include "dis_text_document.h"
#include "global_events.h"
#include "preferences.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

class TextFixture : public testing::Test {
protected:
    TextFixture();
    ~TextFixture() override;

    void exec(char const* sql);
    // As the client does it after a commit: the caches first, then whoever listens.
    void announce(DisChanges const& changes);

    QTemporaryDir directory;
    NakPreferences preferences;
    NakGlobalEvents events;
    std::unique_ptr<DisClient> client;
    std::unique_ptr<DisEmojiImages> emoji; // which fetches nothing: no pool of requests is there
    std::unique_ptr<DisTextDocumentManager> manager;
};

// One line per block and in it one bracket per run of one format, named by its role. A block of a
// fenced code begins with "fence".
std::string dump(QTextDocument const& document);
