// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "cli/Kestrelctl.h"

#include <QCoreApplication>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("kestrelctl"));
    QCoreApplication::setApplicationVersion(QStringLiteral("%1.%2.%3")
                                                .arg(KESTREL_VERSION_MAJOR)
                                                .arg(KESTREL_VERSION_MINOR)
                                                .arg(KESTREL_VERSION_PATCH));
    return Kestrelctl::run(QCoreApplication::arguments());
}
