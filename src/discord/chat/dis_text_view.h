// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Shows one message text: painting, links, selection by mouse. As wide as it is told to be, and as
// high as its document is at that width. User-interface thread only; needs
// g_disTextDocumentManager while it is built.

#include "dis_text_document.h"

#include <QString>
#include <QWidget>

#include <memory>

class DisTextView : public QWidget {
    Q_OBJECT
public:
    explicit DisTextView(QWidget* parent = nullptr);
    ~DisTextView() override;

    // Keeps its own copy of the text.
    void setFromParams(QString const& text, FlakeId guildId, DisText::ContentMode::Type mode);
    DisTextDocument* document() const;

    // The look of a message that is not yet confirmed.
    bool displayAsPending() const;
    void setDisplayAsPending(bool pending);

    // Off: the mouse opens links. On: the mouse selects text.
    bool textSelectionEnabled() const;
    void setTextSelectionEnabled(bool enabled);
    void clearTextSelection();
    QString selectedPlainText() const;

    // The target of the link at the point; empty if none.
    QString anchorAt(QPoint const& pos) const;
    // Shows the menu of the link at the point; false if there is none.
    bool popupLinkMenu(QPoint const& pos, QPoint const& globalPos);

    // The height of the text at that width, for an owner who lays out by hand: the view's layout is
    // done for the width, so that a resize to it that follows costs nothing. In a QLayout the view
    // has a fixed height from its first resize on.
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

signals:
    void textSelectionModified();

protected:
    bool event(QEvent* event) override; // the tool tips of emoji
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};
