// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Events of every name that the client handles, made from drawn numbers: with the fields that the
// service sends, ids of small ranges so that objects meet again, and now and then a field that is
// missing, null, doubled, odd or of another type. The numbers come from a seeded generator or from
// the bytes of a fuzzer.

#include "dread.h"

#include <deque>
#include <functional>
#include <string>

class EventMaker {
public:
    // A number below the given one.
    using Draw = std::function<quint32(quint32 below)>;

    explicit EventMaker(Draw draw);
    explicit EventMaker(quint32 seed);
    ~EventMaker();
    EventMaker(EventMaker const&) = delete;
    EventMaker& operator=(EventMaker const&) = delete;

    // The id of the own user in READY. It is nobody else's.
    void setOwnUser(char const* id) { m_ownUser = id; }

    // The next event; it stands until the next call.
    void make();
    Dread::VString name() const { return m_name; }
    Dread::Ctx const& ctx() const { return m_ctx; }
    Dread::Val const& data() const { return m_data; } // mostly a map

    // A list of such objects, named as in the grammar: what a REST reply holds.
    void makeList(char const* shape);

    // The names, in the grammar's order.
    static std::deque<std::string> eventNames();

private:
    quint32 begin();
    void put(quint32 cell, char const* what);
    void putShape(quint32 cell, char const* fields);
    void putMany(quint32 cell, char const* what);
    void putScalar(quint32 cell, char kind);
    void putId(quint32 cell, quint32 id);
    void putText(quint32 cell, std::string const& text);
    void putName(quint32 cell, quint32 which);
    void putRange(quint32 cell);
    void putWrong(quint32 cell, int depth);

    Draw m_draw;
    char const* m_ownUser = "90";
    Dread::Ctx m_ctx;
    Dread::VString m_name;
    Dread::Val m_data;
    std::deque<std::string> m_texts; // what the tree's strings point into
};
