// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/Configurator.h"
#include "gui/Dialogs.h"
#include "gui/MainWindow.h"
#include "gui/StartUp.h"
#include "link/DevicePort.h"

#include <QApplication>

#include <memory>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion")); // honours the panel's button colours

    Dialogs dialogs;
    StartUp startUp(dialogs);
    if (!startUp.Form1_Load())
        return 0;

    auto model = std::make_unique<SystemModel>();
    DevicePort port;
    MainWindow window(dialogs);
    Configurator configurator(*model, window, port);
    if (!configurator.Form_Load(QCoreApplication::applicationDirPath()))
        return 0;
    const int result = app.exec();
    configurator.Form_Terminate();
    return result;
}
