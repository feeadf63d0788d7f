// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/StartUp.h"

#include "gui/Dialogs.h"
#include "gui/TopLevelWindows.h"

#include <QDir>
#include <QLocalSocket>
#include <QStandardPaths>

StartUp::StartUp(Dialogs &dialogs) : m_dialogs(dialogs) {}

QString StartUp::socketPath()
{
    QString dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (dir.isEmpty())
        dir = QDir::tempPath();
    return QDir(dir).filePath(QStringLiteral("Kestrel"));
}

bool StartUp::anotherInstanceRunning()
{
    // A copy on the same X display shows its window; a copy on Wayland (or on another
    // display) only holds the socket, which every copy holds whatever it runs on.
    if (TopLevelWindows::onX11() && TopLevelWindows::existsWithTitle(QStringLiteral("Kestrel")))
        return true;

    if (m_server.isListening()) // this copy holds it
        return false;
    const QString path = socketPath();
    QLocalSocket probe;
    probe.connectToServer(path);
    if (probe.waitForConnected(500))
        return true;
    // Nobody answers: a socket file left by a copy that crashed is taken over.
    QLocalServer::removeServer(path);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    m_server.listen(path);
    return false;
}

bool StartUp::Form1_Load()
{
    if (!anotherInstanceRunning())
        return true;
    m_dialogs.messageBox({QStringLiteral("An instance of Kestrel is already running"),
                          QStringLiteral("Application Error"), MessageButtons::Ok,
                          MessageIcon::None, MessageResult::Ok});
    return false;
}
