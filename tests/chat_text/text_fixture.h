// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A store with a few known names, preferences with known fonts, a document manager and pictures of
// emoji: what texts need to come on screen.

#include "dis_emoji_images.h"
#include "dis_text_document.h"
#include "model_fixture.h"

#include <gtest/gtest.h>

class TextFixture : public testing::Test, protected ModelWorld {
protected:
    TextFixture();
    ~TextFixture() override;

    std::unique_ptr<DisEmojiImages> emoji; // which fetches nothing: no pool of requests is there
    std::unique_ptr<DisTextDocumentManager> manager;
};

// One line per block and in it one bracket per run of one format, named by its role. A block of a
// fenced code begins with "fence".
std::string dump(QTextDocument const& document);
