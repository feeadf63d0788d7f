#pragma once

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

// A temporary program directory holding the given Kestrel.ini (none for an empty text).
struct ProgramDir
{
    QTemporaryDir dir;
    explicit ProgramDir(const QByteArray &ini)
    {
        if (ini.isEmpty())
            return;
        QFile f(dir.filePath(QStringLiteral("Kestrel.ini")));
        if (f.open(QIODevice::WriteOnly))
            f.write(ini);
    }
    QString path() const { return dir.path(); }
};

// A studio of `outputs` outputs on unit 1 and `inputs` inputs on unit 2, channels from 1.
inline QByteArray studioIni(int outputs, int inputs)
{
    QByteArray ini = "[Kestrel]\r\nSystem=Test studio\r\nCommPort=1\r\nEnabledUnits=1,2\r\n";
    for (int i = 1; i <= outputs; ++i)
        ini += "Output " + QByteArray::number(i) + "=Out " + QByteArray::number(i) + ",1," +
               QByteArray::number(i) + "\r\n";
    for (int j = 1; j <= inputs; ++j)
        ini += "Input " + QByteArray::number(j) + "=In " + QByteArray::number(j) + ",2," +
               QByteArray::number(j) + "\r\n";
    return ini;
}
