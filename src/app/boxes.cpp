// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "boxes.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

namespace {

QString tr(char const* text)
{
    return QCoreApplication::translate("NakApplication", text);
}

QPushButton* addOnlyButton(QMessageBox* box, NakFatalBox::Button button)
{
    switch (button) {
    case NakFatalBox::Button::Ok:
        return box->addButton(QMessageBox::Ok);
    case NakFatalBox::Button::Close:
        return box->addButton(QMessageBox::Close);
    case NakFatalBox::Button::Quit:
        break;
    }
    return box->addButton(tr("Quit"), QMessageBox::RejectRole);
}

} // namespace

void NakBoxes::showFatal(NakFatalBox::Message const& message)
{
    QMessageBox box(QMessageBox::Critical, message.title, message.text);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(message.informativeText);
    box.setDetailedText(message.detailedText);
    QPushButton* const only = addOnlyButton(&box, message.button);
    box.setDefaultButton(only); // not the one that shows the details
    box.setEscapeButton(only);
    box.exec();
}

bool NakBoxes::askToForceStart(QString const& lockFilePath)
{
    QMessageBox box(
        QMessageBox::Warning, tr("Nakwire Startup"),
        tr("It looks like Nakwire is already running. You may also be seeing this message if "
           "Nakwire recently crashed.\n\nRunning two copies of Nakwire at the same time can cause "
           "problems and is not recommended.\n\nDo you want to force-start Nakwire anyway?"));
    box.setTextFormat(Qt::PlainText);
    box.setDetailedText(tr("Unable to acquire lock file at %1").arg(lockFilePath));
    QPushButton* quit = box.addButton(tr("Quit"), QMessageBox::NoRole);
    QPushButton* forceStart = box.addButton(tr("Force start"), QMessageBox::YesRole);
    box.setDefaultButton(quit);
    box.setEscapeButton(quit);
    box.exec();
    return box.clickedButton() == forceStart;
}

bool NakBoxes::askToIgnoreLockFailure()
{
    auto const answer =
        QMessageBox::critical(nullptr, tr("Lock file failure"),
                              tr("Unable to remove old lock file and acquire new lock file."),
                              QMessageBox::Abort | QMessageBox::Ignore, QMessageBox::Abort);
    return answer == QMessageBox::Ignore;
}

void NakBoxes::tellOpenSslIsMissing(bool cryptoFound, bool sslFound)
{
    auto const word = [](bool found) {
        return found ? QLatin1String("true") : QLatin1String("false");
    };
    QString const text =
        tr("Unable to load matching OpenSSL shared objects. Expected version %1, which have shared "
           "objects named as version %2.\n\nFound libcrypto: %3.\nFound libssl: %4\n\nNakwire for "
           "Linux typically ships with OpenSSL libraries bundled in the AppImage. This is to avoid "
           "situations where a Linux system may have an incompatible version (1.1 instead of "
           "1.0.1, etc.). If you are seeing this message, that means they weren't found. Something "
           "may have gone wrong with packaging, the OpenSSL binaries packaged with Nakwire may be "
           "missing one of their own dependencies and were unable to be dynamically loaded, the "
           "AppImage paths may be messed up, or you may be trying to run Nakwire outside of the "
           "AppImage without the proper version of OpenSSL on your system.\n\nYou will probably "
           "not be able to connect to any online services.")
            .arg(QLatin1String("1.0.1"), QLatin1String("1.0.0"), word(cryptoFound), word(sslFound));
    QMessageBox::critical(nullptr, tr("OpenSSL Load Error"), text);
}

void NakBoxes::tell(QString const& title, QString const& text, bool critical)
{
    auto* box = new QMessageBox(critical ? QMessageBox::Critical : QMessageBox::Warning, title,
                                text, QMessageBox::Ok, QApplication::activeWindow());
    box->setTextFormat(Qt::PlainText);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::NonModal);
    box->show();
}
