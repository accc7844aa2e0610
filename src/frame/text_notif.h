// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// The ready-made notification: a text with actions. User-interface thread.

#include "notif_item.h"

#include <QPointer>
#include <QTextLayout>

// The item behind a NakTextNotif.
class NakTextNotifItem : public NakNotifItem {
    Q_OBJECT
public:
    explicit NakTextNotifItem(QObject* parent = nullptr);
    ~NakTextNotifItem() override;

    NakNotifVis* createVis(NakNotif::VisCtorParams const& params) override;

    // Plain text of any length; what is shown of it is bounded.
    void setText(QString const& text);
    // Whether it is wrapped and its line breaks count, up to some lines; else it is one line.
    void setMultiline(bool multiline);

    QString const& text() const { return m_text; }
    bool isMultiline() const { return m_multiline; }

signals:
    void textChanged(); // or whether it has several lines

private:
    QString m_text;
    bool m_multiline = false;
};

class NakTextNotif : public QObject {
    Q_OBJECT
public:
    explicit NakTextNotif(QObject* parent = nullptr);
    ~NakTextNotif() override;

    NakTextNotifItem* item() const { return m_item; } // never null

    void setText(QString const& text) { m_item->setText(text); }
    void setMultiline(bool multiline) { m_item->setMultiline(multiline); }
    void setDismissable(bool dismissable) { m_item->setDismissable(dismissable); }
    void setActions(QVector<NakNotifAction> const& actions) { m_item->setActions(actions); }
    void setEnabled(bool enabled) { m_item->setEnabled(enabled); }
    void showTrayMessage(QString const& title, QString const& text, QIcon const& icon)
    {
        m_item->showTrayMessage(title, text, icon);
    }

signals:
    // As the item's.
    void dismissed();
    void actionTriggered(int index, QObject* sender);
    void trayMessageClicked();

private:
    NakTextNotifItem* m_item;
};

// How a text notification looks in a list.
class NakTextNotifVis : public NakNotifVis {
    Q_OBJECT
public:
    NakTextNotifVis(NakNotif::VisCtorParams const& params, NakTextNotifItem const* item);
    ~NakTextNotifVis() override;

    void widthInContainerChanged() override;
    void paint(QPainter& painter, QRect const& rect) override;

private:
    void layoutText();

    QPointer<NakTextNotifItem const> m_item;
    QTextLayout m_layout;
    QPoint m_textTopLeft;
};
