// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A stage with its pictures, what fetches them, a log that can be read, and bounds short enough to
// be met in a test.

#include "global_events.h"
#include "gui_icons.h"
#include "preferences.h"
#include "request_pool.h"
#include "stage.h"
#include "wait_until.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

class ImagesTest : public testing::Test {
protected:
    ImagesTest();
    ~ImagesTest() override;

    QString at(char const* path) const; // on the stage
    int requestsTo(QString const& path) const;
    int pictureRequests() const; // below /cdn and /media
    // What the log has about pictures, without the lines at Debug: no address, one line each.
    QStringList logLines() const;
    void makePool(); // with the cache that is there

    QTemporaryDir dir;
    stage::Stage stage;
    NakPreferences preferences;
    NakGlobalEvents events;
    NakGuiIcons icons;
    std::unique_ptr<NakRequestPool> pool;
};
