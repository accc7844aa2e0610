// SPDX-FileCopyrightText: 2026 The Nakwire authors
// SPDX-License-Identifier: GPL-3.0-or-later
#include "settings_proxy.h"

#include "settings_file.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QNetworkProxy>
#include <QSpinBox>

namespace {

constexpr int mostPort = 65535;
constexpr int fieldChars = 24;

QVector<NakSettingsRows::Group> rows()
{
    return { { "Network proxy",
               { { "&Use a proxy", &NakPreferences::useNetworkProxy,
                   "Takes effect when Nakwire starts again. Switched off, the address and the "
                   "password are erased." } } } };
}

QLineEdit* newLine(QWidget* parent)
{
    auto* const line = new QLineEdit(parent);
    line->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    line->setMinimumWidth(line->fontMetrics().averageCharWidth() * fieldChars);
    return line;
}

} // namespace

NakSettingsProxyPage::NakSettingsProxyPage(NakSettingsModel* settings, QWidget* parent)
    : NakSettingsForm(settings, rows(), parent)
    , m_type(new QComboBox(this))
    , m_host(newLine(this))
    , m_port(new QSpinBox(this))
    , m_user(newLine(this))
    , m_password(newLine(this))
{
    m_type->addItem(QStringLiteral("SOCKS 5"), QNetworkProxy::Socks5Proxy);
    m_type->addItem(QStringLiteral("HTTP"), QNetworkProxy::HttpProxy);
    m_port->setRange(0, mostPort);
    m_port->setSpecialValueText(tr("Not set"));
    m_password->setEchoMode(QLineEdit::Password);
    QVector<QWidget*> const cells{
        addRow(tr("&Type"), m_type, QString()),
        addRow(tr("&Host"), m_host, QString()),
        addRow(tr("&Port"), m_port, QString()),
        addRow(tr("User &name"), m_user, QString()),
        addRow(tr("Pass&word"), m_password, tr("Stored in the settings file as you type it.")),
    };
    load();
    auto const follow = [this, cells] {
        for (QWidget* cell : cells)
            enableRow(cell, model()->working().useNetworkProxy);
    };
    connect(model(), &NakSettingsModel::edited, this, follow);
    connect(model(), &NakSettingsModel::replaced, this, follow);
    follow();
}

void NakSettingsProxyPage::load()
{
    QNetworkProxy const proxy = NakSettings::tryReadProxySettings(NakSettingsFile());
    m_type->setCurrentIndex(qMax(0, m_type->findData(proxy.type())));
    m_host->setText(proxy.hostName());
    m_port->setValue(proxy.port());
    m_user->setText(proxy.user());
    m_password->setText(proxy.password());
}

void NakSettingsProxyPage::save() const
{
    NakSettingsFile settings;
    auto const type = static_cast<QNetworkProxy::ProxyType>(m_type->currentData().toInt());
    NakSettings::tryWriteProxySettings(settings,
                                       QNetworkProxy(type, m_host->text().trimmed(),
                                                     static_cast<quint16>(m_port->value()),
                                                     m_user->text(), m_password->text()));
}

void NakSettingsProxyPage::resetOwnRows()
{
    m_type->setCurrentIndex(0);
    m_port->setValue(0);
    for (QLineEdit* line : { m_host, m_user, m_password })
        line->clear();
}
