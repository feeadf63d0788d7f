// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/AdvancedWindow.h"

#include "gui/TitleStrip.h"
#include "gui/Twips.h"

#include <QCloseEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

AdvancedWindow::AdvancedWindow(QWidget *parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("frmVerbose"));
    setWindowTitle(QStringLiteral("Kestrel Advanced Config"));
    // Hidden, not destroyed: the next tick of "Advanced" shows it again with its line.
    setAttribute(Qt::WA_DeleteOnClose, false);
    build();
}

AdvancedWindow::~AdvancedWindow() = default;

void AdvancedWindow::build()
{
    const Twips t = Twips::forWidget(this);
    setFixedSize(t.px(InnerWidthTwips), t.px(InnerHeightTwips));

    m_txtDirectCommand = new QLineEdit(this);
    m_txtDirectCommand->setObjectName(QStringLiteral("txtDirectCommand"));
    m_txtDirectCommand->setGeometry(t.rect(135, 120, 3915, 315));
    // Return and the keypad's Enter both arrive here as character code 13.
    connect(m_txtDirectCommand, &QLineEdit::returnPressed, this, &AdvancedWindow::commandEntered);

    auto *send = new QPushButton(QStringLiteral("send"), this);
    send->setObjectName(QStringLiteral("cmdDirectCommand"));
    send->setGeometry(t.rect(4200, 120, 600, 330));
    m_cmdDirectCommand = send;

    m_txtIBuffer = new QPlainTextEdit(this);
    m_txtIBuffer->setObjectName(QStringLiteral("txtIBuffer"));
    m_txtIBuffer->setGeometry(t.rect(90, 540, 4725, 4905));
    m_txtIBuffer->setReadOnly(true);
    // A reply's lines are short; a long one wraps rather than hiding behind a scroll bar.
    m_txtIBuffer->setLineWrapMode(QPlainTextEdit::WidgetWidth);

    setTabOrder(m_txtDirectCommand, send);
    setTabOrder(send, m_txtIBuffer);
    TitleStrip::addTo(this);
}

QString AdvancedWindow::commandText() const { return m_txtDirectCommand->text(); }

void AdvancedWindow::setMonitorText(const QString &text)
{
    // Plain text breaks lines at CR LF (and at a lone CR or LF), so the raw reply shows line
    // by line as it came.
    m_txtIBuffer->setPlainText(text);
}

void AdvancedWindow::focusCommandLine()
{
    activateWindow();
    m_txtDirectCommand->setFocus(Qt::OtherFocusReason);
}

void AdvancedWindow::closeEvent(QCloseEvent *event)
{
    emit unloading();
    event->accept();
}
