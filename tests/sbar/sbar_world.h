// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A side bar on a signed-in account whose store the tests fill by hand.

#include "dis_manager.h"
#include "gui_icons.h"
#include "model_fixture.h"
#include "saved_data.h"
#include "sbar_view.h"
#include "sbar_view_priv.h"
#include "stage.h"

#include <QStringList>

class SbarWorld {
public:
    SbarWorld();
    ~SbarWorld();

    void sql(QString const& text) { model.run(text.toUtf8().constData()); }
    // The store's rows of two columns.
    QVector<QPair<FlakeId, QString>> rows(QString const& text) const;
    void tell(DisChange::ChangeType type, FlakeId a, FlakeId b = {}) { model.tell(type, a, b); }
    void reload(); // and waits until everything is read
    void say(FlakeId channel); // a message of somebody else
    void addGuild(quint64 id, QString const& name);
    void addChannel(quint64 id, quint64 guild, qint64 parent, int position);

    NakSbar::ViewPriv& priv() { return view->priv(); }
    NakSbar::Item itemOf(NakSbar::Kind kind, quint64 id);
    QPoint pointOf(NakSbar::Item item);

    stage::Stage service;
    ModelWorld model;
    NakGuiIcons icons;
    std::unique_ptr<DisManager> manager;
    std::unique_ptr<NakSavedData> saved;
    std::unique_ptr<NakSbarView> view;
    FlakeId me;
    quint64 lastMessage = quint64(1) << 61;
};

// What the rows say that a view holds records of, in reading order: the name, "+" for what is
// collapsed, and the number.
QStringList shownRows(NakSbarView& view);
