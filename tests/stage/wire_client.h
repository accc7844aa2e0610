// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// A bare gateway client for the tests: a web socket, one inflate stream, and the frames it saw.

#include "stage_etf.h"
#include "wait_until.h"

#include <QJsonObject>
#include <QUrl>
#include <QVector>
#include <QWebSocket>

#include <gtest/gtest.h>
#include <zlib.h>

constexpr int kWaitMs = 10000; // only a failing test waits that long

struct WireClient {
    QWebSocket socket;
    z_stream inflater{};
    QVector<QJsonObject> frames;
    int broken = 0; // messages that did not inflate or were no term

    WireClient()
    {
        inflateInit(&inflater);
        QObject::connect(&socket, &QWebSocket::binaryMessageReceived, &socket,
                         [this](QByteArray const& message) { receive(message); });
    }
    ~WireClient()
    {
        socket.disconnect(&socket);
        socket.abort();
        inflateEnd(&inflater);
    }

    void open(QString const& url, char const* query = "/?encoding=etf&v=6&compress=zlib-stream")
    {
        inflateReset(&inflater);
        socket.open(QUrl(url + QString::fromLatin1(query)));
    }

    void receive(QByteArray message)
    {
        QByteArray out;
        inflater.next_in = reinterpret_cast<Bytef*>(message.data());
        inflater.avail_in = uInt(message.size());
        int status = Z_OK;
        while (status == Z_OK && inflater.avail_in > 0) {
            QByteArray part(1 << 16, Qt::Uninitialized);
            inflater.next_out = reinterpret_cast<Bytef*>(part.data());
            inflater.avail_out = uInt(part.size());
            status = inflate(&inflater, Z_NO_FLUSH);
            out += part.left(part.size() - int(inflater.avail_out));
        }
        auto const term = stage::decodeTerm(out);
        if (term)
            frames.append(stage::toJson(*term).toObject());
        else
            ++broken;
    }

    void send(QJsonObject const& frame)
    {
        socket.sendBinaryMessage(stage::encodeTerm(stage::fromJson(frame)));
    }

    void identify(char const* token = "secret")
    {
        send({ { QStringLiteral("op"), 2 },
               { QStringLiteral("d"),
                 QJsonObject{ { QStringLiteral("token"), QString::fromLatin1(token) } } } });
    }

    void resume(QString const& session, int seq)
    {
        send({ { QStringLiteral("op"), 6 },
               { QStringLiteral("d"),
                 QJsonObject{ { QStringLiteral("token"), QStringLiteral("secret") },
                              { QStringLiteral("session_id"), session },
                              { QStringLiteral("seq"), seq } } } });
    }

    // Opens, signs in and gives what READY says; what came until then is forgotten.
    QJsonObject enter(QString const& url, char const* token = "secret")
    {
        open(url);
        waitFor(10);
        identify(token);
        QJsonObject const ready = waitFor(0, "READY");
        frames.clear();
        return ready.value(QStringLiteral("d")).toObject();
    }

    // The last frame with that opcode or event name, or an empty one; waits for it.
    QJsonObject waitFor(int op, char const* name = "")
    {
        QJsonObject found;
        waitUntil([&] {
            for (QJsonObject const& frame : frames)
                if (frame.value(QStringLiteral("op")).toInt(-1) == op
                    && frame.value(QStringLiteral("t")).toString() == QLatin1String(name))
                    found = frame;
            return !found.isEmpty();
        });
        return found;
    }
};
