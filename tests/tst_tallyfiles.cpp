#include "files/TallyFile.h"
#include "files/TallyFiles.h"
#include "matrix/MapString.h"
#include "matrix/Mapping.h"
#include "support/LinkRig.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

struct FileRig : LinkRig
{
    explicit FileRig(int outputs = 6, int inputs = 6, bool online = false)
        : LinkRig(outputs, inputs)
    {
        model.Online = online;
        port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            return ScriptedPort::answer(c, c.startsWith("RawMap") ? "" : "OK");
        };
    }
    QString path(const QString &name) const { return dir.filePath(name); }
    QByteArray bytes(const QString &name) const
    {
        QFile f(path(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<unreadable>");
    }
    void put(const QString &name, const QByteArray &content)
    {
        QFile f(path(name));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(content);
    }
    QStringList maps() const
    {
        QStringList out;
        for (int i = 0; i < TableSize; ++i)
            out << model.OutputMap[i];
        return out;
    }

    QTemporaryDir dir;
    Mapping mapping{model, view, channel, commands, lists};
    TallyFiles files{model, view, mapping, readBack, commands, clearing, lists};
};

} // namespace

class TestTallyFiles : public QObject
{
    Q_OBJECT
private slots:
    void fields_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QStringList>("fields");
        QTest::newRow("lines") << QByteArray("[1]\r\n[2]\r\n") << QStringList{u"[1]"_s, u"[2]"_s};
        QTest::newRow("no final line end")
            << QByteArray("[1]\r\n[2]") << QStringList{u"[1]"_s, u"[2]"_s};
        QTest::newRow("comma ends a field")
            << QByteArray("[1],[2]\r\n") << QStringList{u"[1]"_s, u"[2]"_s};
        QTest::newRow("leading blanks") << QByteArray("   [1]\r\n") << QStringList{u"[1]"_s};
        QTest::newRow("quoted") << QByteArray("\"[1], x\"\r\n") << QStringList{u"[1], x"_s};
        QTest::newRow("empty lines skipped")
            << QByteArray("\r\n\r\n[1]\r\n\r\n") << QStringList{u"[1]"_s};
        QTest::newRow("lone LF and CR")
            << QByteArray("[1]\n[2]\r[3]") << QStringList{u"[1]"_s, u"[2]"_s, u"[3]"_s};
        QTest::newRow("empty file") << QByteArray() << QStringList();
        QTest::newRow("unterminated quote") << QByteArray("\"[1]") << QStringList{u"[1]"_s};
        QTest::newRow("stray quote ends at its line")
            << QByteArray("\"[1]\r\n[2]\r\n") << QStringList{u"[1]"_s, u"[2]"_s};
        QTest::newRow("blanks after the last line end")
            << QByteArray("[1]\r\n  ") << QStringList{u"[1]"_s};
        QTest::newRow("blanks after a final comma")
            << QByteArray("[1], \t") << QStringList{u"[1]"_s};
    }
    void fields()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QStringList, fields);
        QCOMPARE(TallyFile::fields(bytes), fields);
    }

    void parseFilename_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("shown");
        QTest::newRow("slashes") << u"/home/op/studio.qvr"_s << u"studio.qvr"_s;
        QTest::newRow("backslashes") << u"C:\\Tally\\studio.qvr"_s << u"studio.qvr"_s;
        QTest::newRow("no folder") << u"studio.qvr"_s << u""_s;
        QTest::newRow("root only") << u"\\studio.qvr"_s << u""_s;
        QTest::newRow("sixty characters") << u"/t/"_s + QString(60, u'x') << QString(50, u'x');
    }
    void parseFilename()
    {
        QFETCH(QString, path);
        QFETCH(QString, shown);
        QCOMPARE(TallyFile::ParseFilename(path), shown);
    }

    void offlineRoundTripIsExact()
    {
        FileRig r;
        r.model.OutputMap[1] = ComposeMapString(1, 1, 2, 3);
        r.model.OutputMap[3] = ComposeBoolMapString(1, 3, 2, 1, 2, 6, AndMapping);
        r.model.OutputMap[6] = ComposeBoolMapString(1, 6, 0, 0, 2, 2, OrMapping);
        const QStringList before = r.maps();
        r.view.files = {r.path(u"a.qvr"_s)};
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(r.bytes(u"a.qvr"_s), QByteArray("[1][1][2][3][1][0][0][0]\r\n"
                                                 "[1][3][2][1][1][2][6][1]\r\n"
                                                 "[1][6][0][0][1][2][2][2]\r\n"));
        QCOMPARE(r.view.text(Control::lblFileName), u"a.qvr"_s);
        // Something else in the model, then a full load puts the saved matrix back exactly.
        r.model.OutputMap[2] = ComposeMapString(1, 2, 2, 2);
        r.model.OutputMap[1].clear();
        r.view.files = {r.path(u"a.qvr"_s)};
        r.files.cmdLoadMatrix_Click();
        QCOMPARE(r.maps(), before);
        QVERIFY(r.port.commands.isEmpty());
        QCOMPARE(r.view.rowText(Control::List1, 2), u"Out 3\t 1\t&\t 6"_s);
    }

    void progressLabel()
    {
        FileRig r;
        r.put(u"three.qvr"_s, "[1][1][2][1][1][0][0][0]\r\n[1][2][2][2][1][0][0][0]\r\n"
                              "[1][3][2][3][1][0][0][0]\r\n");
        QStringList shown;
        r.view.setText(Control::lblDownloading, u"Download"_s);
        QVERIFY(r.files.LoadMatrixMappings(r.path(u"three.qvr"_s), u"Full"_s));
        QCOMPARE(r.view.text(Control::lblDownloading), u"Mapping  2"_s);
        QVERIFY(!r.view.isVisible(Control::lblDownloading));
        QVERIFY(r.view.at(Control::lblDownloading).repaints >= 3);
    }

    void emptyFiles()
    {
        FileRig r;
        r.view.files = {r.path(u"empty.qvr"_s)};
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(r.bytes(u"empty.qvr"_s), QByteArray());
        r.model.OutputMap[4] = ComposeMapString(1, 4, 2, 2);
        QVERIFY(r.files.LoadMatrixMappings(r.path(u"empty.qvr"_s), u"Full"_s));
        QCOMPARE(r.model.OutputMap[4], u""_s);
    }

    void partialLoadKeepsTheRest()
    {
        FileRig r;
        r.model.OutputMap[1] = ComposeMapString(1, 1, 2, 1);
        r.model.OutputMap[2] = ComposeMapString(1, 2, 2, 2);
        r.put(u"p.qvr"_s, "[1][2][2][5][1][0][0][0]\r\n");
        QVERIFY(r.files.LoadMatrixMappings(r.path(u"p.qvr"_s), u"Part"_s));
        QCOMPARE(r.model.OutputMap[1], ComposeMapString(1, 1, 2, 1));
        QCOMPARE(r.model.OutputMap[2], u"[1][2][2][5][1][0][0][0]"_s);
        QCOMPARE(r.model.OutputSource[2], u" 5"_s); // as the redrawn row shows it
    }

    void onlineLoadSendsEveryMapping()
    {
        FileRig r(6, 6, true);
        r.model.EnabledUnitList[1] = 2;
        r.model.EnabledUnitList[2] = 1;
        r.model.EnabledUnitCount = 2;
        r.put(u"o.qvr"_s, "[1][1][2][1][1][0][0][0]\r\n[1][2][2][3][1][2][4][2]\r\n");
        QVERIFY(r.files.LoadMatrixMappings(r.path(u"o.qvr"_s), u"Full"_s));
        QStringList sent;
        for (const QByteArray &c : r.port.commands)
            sent << QString::fromLatin1(c);
        QCOMPARE(sent, (QStringList{u"Init"_s, u"Uenable  2"_s, u"Uenable  1"_s, u"Map 1 1 2 1"_s,
                                    u"Map 1 2 2 3"_s, u"OR 1 2 2 4"_s}));
    }

    void onlineLoadStopsAtAFailedUnmap()
    {
        FileRig r(6, 6, true);
        r.port.responder = [](const QByteArray &c) -> std::optional<ScriptedPort::Reply> {
            if (c.startsWith("ClrMap"))
                return ScriptedPort::silence();
            return ScriptedPort::answer(c, "OK");
        };
        r.put(u"f.qvr"_s, "[1][1][2][1][1][0][0][0]\r\n[1][2][0][0][1][0][0][0]\r\n"
                          "[1][3][2][3][1][0][0][0]\r\n");
        QVERIFY(r.files.LoadMatrixMappings(r.path(u"f.qvr"_s), u"Part"_s));
        QCOMPARE(r.model.OutputMap[1], u"[1][1][2][1][1][0][0][0]"_s);
        QCOMPARE(r.model.OutputMap[3], u""_s); // never reached
        QVERIFY(!r.port.commands.contains("Map 1 3 2 3"));
    }

    void undeclaredOutputsAndInputs()
    {
        FileRig r(3, 3);
        r.put(u"u.qvr"_s, "[9][9][2][1][1][0][0][0]\r\n[1][1][7][7][1][0][0][0]\r\n");
        QVERIFY(r.files.LoadMatrixMappings(r.path(u"u.qvr"_s), u"Full"_s));
        QCOMPARE(r.model.OutputMap[4], u"[9][9][2][1][1][0][0][0]"_s); // not-found index, no row
        QCOMPARE(r.view.rowCount(Control::List1), 3);
        QCOMPARE(r.model.OutputSource[1], u" 4"_s);
    }

    void undeclaredWith999OutputsIsSkipped()
    {
        FileRig r(MaxDeclared, 3);
        r.put(u"u.qvr"_s, "[7][7][2][1][1][0][0][0]\r\n[1][5][2][2][1][0][0][0]\r\n");
        QVERIFY(r.files.LoadMatrixMappings(r.path(u"u.qvr"_s), u"Full"_s));
        QCOMPARE(r.model.OutputMap[5], u"[1][5][2][2][1][0][0][0]"_s);
        QCOMPARE(r.model.OutputMap[MaxDeclared], u""_s);
    }

    void moreThanATableOfFields()
    {
        FileRig r(4, 4);
        QByteArray many;
        for (int k = 0; k < 1005; ++k)
            many += "[1][" + QByteArray::number(k % 4 + 1) + "][2][1][1][0][0][0]\r\n";
        r.put(u"many.qvr"_s, many);
        QVERIFY(r.files.LoadMatrixMappings(r.path(u"many.qvr"_s), u"Full"_s));
        QCOMPARE(r.view.boxes.size(), 1);
        QVERIFY(r.view.boxes[0].text.contains(u"5 were not"_s));
        QCOMPARE(r.model.RawMap[999], u"[1][4][2][1][1][0][0][0]"_s);
    }

    void unreadableFileChangesNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("a folder") << u"folder.qvr"_s;
        QTest::newRow("vanished") << u"gone/studio.qvr"_s;
    }
    void unreadableFileChangesNothing()
    {
        QFETCH(QString, name);
        FileRig r;
        QDir(r.dir.path()).mkdir(u"folder.qvr"_s);
        r.model.OutputMap[2] = ComposeMapString(1, 2, 2, 2);
        const QStringList before = r.maps();
        QVERIFY(!r.files.LoadMatrixMappings(r.path(name), u"Full"_s));
        QCOMPARE(r.maps(), before);
        QCOMPARE(r.view.boxes.size(), 1);
        QVERIFY(r.view.boxes[0].text.contains(r.path(name)));
        QVERIFY(r.view.isEnabled(Control::cmdMapIt));
    }

    void missingFileIsTold()
    {
        FileRig r;
        r.view.files = {r.path(u"nothing.qvr"_s)};
        r.files.cmdPartLoadMatrix_Click();
        QCOMPARE(r.view.boxes.size(), 1);
        QCOMPARE(r.view.boxes[0].text, u"File does not exist"_s);
        QCOMPARE(r.view.boxes[0].title, u"File Error"_s);
        QCOMPARE(r.view.focus, Control::List1);
    }

    void overwriteAnsweredNoKeepsTheFile()
    {
        FileRig r;
        r.put(u"old.qvr"_s, "keep me\r\n");
        r.view.setText(Control::lblFileName, u"other.qvr"_s);
        r.model.OutputMap[1] = ComposeMapString(1, 1, 2, 1);
        r.view.files = {r.path(u"old.qvr"_s)};
        r.view.answers = {MessageResult::No};
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(r.view.boxes[0].text, u"Do you want to Ovewrwrite existing file"_s);
        QCOMPARE(r.view.boxes[0].title, u"File Already Exists"_s);
        QCOMPARE(r.bytes(u"old.qvr"_s), QByteArray("keep me\r\n"));
        QCOMPARE(r.view.text(Control::lblFileName), u"other.qvr"_s);
    }

    void failedSaveKeepsThePreviousFile()
    {
        // The disk "fills" half way through the save: a file size limit of 4 KiB, which holds
        // for root too. The previous file must stay whole.
        FileRig r(MaxDeclared, 3);
        r.put(u"studio.qvr"_s, "previous\r\n");
        for (int i = 1; i <= MaxDeclared; ++i)
            r.model.OutputMap[i] = ComposeMapString(1, qint16(i), 2, 1);
        rlimit old{};
        QCOMPARE(getrlimit(RLIMIT_FSIZE, &old), 0);
        const auto oldSignal = std::signal(SIGXFSZ, SIG_IGN);
        struct rlimit small = old;
        small.rlim_cur = 4096;
        QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
        const bool saved = r.files.SaveAllMappings(r.path(u"studio.qvr"_s));
        setrlimit(RLIMIT_FSIZE, &old);
        std::signal(SIGXFSZ, oldSignal);
        QVERIFY(!saved);
        QCOMPARE(r.bytes(u"studio.qvr"_s), QByteArray("previous\r\n"));
        QCOMPARE(r.view.boxes.size(), 1);
        QVERIFY(r.view.boxes[0].text.contains(r.path(u"studio.qvr"_s)));
        QCOMPARE(QDir(r.dir.path()).entryList(QDir::Files), QStringList{u"studio.qvr"_s});
    }

    void saveIntoAMissingFolderIsTold()
    {
        FileRig r;
        r.model.OutputMap[1] = ComposeMapString(1, 1, 2, 1);
        r.view.files = {r.path(u"nowhere/studio.qvr"_s)};
        r.view.setText(Control::lblFileName, u"before.qvr"_s);
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(r.view.boxes.size(), 1);
        QCOMPARE(r.view.boxes[0].title, u"File Error"_s);
        QCOMPARE(r.view.text(Control::lblFileName), u"before.qvr"_s);
    }

    void cancelledSaveOnlineHasCompacted()
    {
        FileRig r(4, 4, true);
        r.files.cmdSaveMatrix_Click();
        QCOMPARE(r.port.commands, QList<QByteArray>{"Comp"});
        QCOMPARE(r.view.dialogs.size(), 1);
        QCOMPARE(r.view.dialogs[0].second, u"Save Tally Matrix to File"_s);
    }
};

QTEST_GUILESS_MAIN(TestTallyFiles)
#include "tst_tallyfiles.moc"
