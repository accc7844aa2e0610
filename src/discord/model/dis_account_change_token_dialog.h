// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

// Asks for an account's token. User-interface thread.

#include <QDialog>

class QCheckBox;
class QLineEdit;
class QPushButton;

namespace DisAcctsComponentImpl {

class DisAccountChangeTokenDialog : public QDialog {
    Q_OBJECT
public:
    // acceptText stands on the button that ends it.
    DisAccountChangeTokenDialog(QString const& title, QString const& acceptText, QWidget* parent);
    ~DisAccountChangeTokenDialog() override;

    QString token() const;

public slots:
    void done(int result) override;

private:
    void showHowToGetIt();

    QLineEdit* m_token;
    QCheckBox* m_clearClipboard;
    QPushButton* m_accept;
};

} // namespace DisAcctsComponentImpl
