// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// "Go to…": a field, and below it what its text finds among all providers, best first. Rows come
// and go as the providers' matchers answer, each in its own time. User-interface thread; needs the
// jump manager and g_preferences. One stands by for each chat window that was asked for it.

#include <QWidget>

#include <memory>

namespace NakJumpViewImpl {
struct Priv;
}

class NakJumpView : public QWidget {
    Q_OBJECT
public:
    // chatWindow: where the places open.
    NakJumpView(QWidget* chatWindow, QWidget* parent);
    ~NakJumpView() override;

    void setFocusAndSelectAllInputText();
    // Asks every matcher anew: what there is may have changed while the view was hidden.
    void getNewResultsWithCurrentInput();

signals:
    // The user is done, with or without having gone somewhere.
    void dismissed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override; // the field's keys
    void paintEvent(QPaintEvent* event) override;

private:
    std::unique_ptr<NakJumpViewImpl::Priv> d;
};
