// Every fault the virtual tally system can play, against each operation that talks to it:
// no crash, no wait beyond the stated time-outs, the operator told, and no mapping lost that
// the operation was not meant to change. Each case prints one line for the fault table.
#include "files/TallyFiles.h"
#include "link/CommandChannel.h"
#include "link/Connection.h"
#include "link/DeviceCommands.h"
#include "link/QtSerialPortAdapter.h"
#include "events/UnitStatus.h"
#include "matrix/Clearing.h"
#include "matrix/MapString.h"
#include "matrix/Mapping.h"
#include "matrix/MatrixLists.h"
#include "matrix/ReadBack.h"
#include "support/FakeSecondaryViews.h"
#include "support/FakeView.h"
#include "ui/SimProcess.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// The tally system's preloaded table: outputs 1..3 of unit 1.
const QByteArray Table = "[1][1][2][1][1][0][0][0]\r\n[1][2][2][2][1][0][0][0]\r\n"
                         "[1][3][2][3][1][2][4][1]\r\n";

// The configurator's logic on a real pseudo-terminal; the line was good when it went online.
struct Rig
{
    explicit Rig()
    {
        model.NumberOfOutputs = 6;
        model.NumberOfInputs = 6;
        model.InputName[0] = u"Unassigned"_s;
        for (int i = 1; i <= 6; ++i) {
            model.OutputName[i] = u"Out "_s + QString::number(i);
            model.OutputUnit[i] = 1;
            model.OutputChannel[i] = qint16(i);
            model.InputName[i] = u"In "_s + QString::number(i);
            model.InputUnit[i] = 2;
            model.InputChannel[i] = qint16(i);
        }
        model.EnabledUnitList[1] = 1;
        model.EnabledUnitCount = 1;
        lists.FillLists();
        for (Control l : {Control::List1, Control::list2, Control::list3})
            view.setCurrentRow(l, 0);
        unitView.setWatchUnitText(u"1"_s);
        // The model already knows the tally system's table, as after a good start.
        for (int i = 1; i <= 3; ++i)
            model.OutputMap[i] = QString::fromLatin1(Table.split('\n')[i - 1].trimmed());
        model.OutputMap[5] = u"[1][5][2][6][1][0][0][0]"_s; // known only to the model
    }
    bool open(const QString &link)
    {
        port.PortSetDevice(link);
        return port.PortOpen();
    }

    SystemModel model;
    FakeView view;
    FakeUnitStatusView unitView;
    QtSerialPortAdapter port;
    CommandChannel channel{model, view, port};
    MatrixLists lists{model, view};
    Clearing clearing{model, view};
    DeviceCommands commands{model, channel};
    Connection connection{model, view, channel};
    ReadBack readBack{model, view, channel, lists, clearing, commands};
    Mapping mapping{model, view, channel, commands, lists};
    TallyFiles files{model, view, mapping, readBack, commands, clearing, lists};
    UnitStatus status{model, view, unitView, channel, commands};
};

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT
private slots:
    // CTest runs these rows a fault at a time, naming them (tests/ui/CMakeLists.txt): a fault
    // or an operation added here is added there too.
    void matrix_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("operation");
        // Exchanges the operation makes at most; each may take a little over 2 s.
        QTest::addColumn<int>("exchanges");
        const QList<QPair<QString, int>> operations{{u"start-up"_s, 12}, {u"map"_s, 1},
                                                    {u"unmap"_s, 2},     {u"read-back"_s, 5},
                                                    {u"file load"_s, 5}, {u"status poll"_s, 2}};
        for (const QString &fault : {u"none"_s, u"silent"_s, u"slow:2500"_s, u"cut"_s, u"garbage"_s,
                                    u"drop:2"_s, u"hangup:1"_s}) {
            for (const auto &[operation, exchanges] : operations) {
                const QByteArray name = (fault + u" / "_s + operation).toUtf8();
                QTest::newRow(name.constData()) << fault << operation << exchanges;
            }
        }
    }
    void matrix()
    {
        QFETCH(QString, fault);
        QFETCH(QString, operation);
        QFETCH(int, exchanges);
        SimProcess sim;
        QStringList args{u"--baud"_s, u"0"_s, u"--seed"_s, u"7"_s};
        if (fault != u"none"_s)
            args << u"--fault"_s << fault;
        QVERIFY(sim.start(args, Table));
        Rig r;
        QVERIFY(r.open(sim.link()));
        r.model.Online = true;
        r.view.answers = {MessageResult::No}; // give up at the first retry question
        const auto before = r.model.OutputMap;

        QElapsedTimer clock;
        clock.start();
        QString seen;
        if (operation == u"start-up"_s) {
            r.model.Online = false;
            if (r.connection.GoOnline())
                r.readBack.SyncWithKestrel();
            seen = r.model.Online ? u"online, %1 rows"_s.arg(r.model.MapStrings)
                                  : u"offline after the retry question"_s;
            if (!r.model.Online) {
                QCOMPARE(r.view.boxes.first().title, u"Communication Error"_s);
                QCOMPARE(r.view.text(Control::cmdOnline), u"OFFLINE"_s);
            }
            // What a read-back files is what the tally system holds, never invented rows.
            for (int i = 1; i <= 6; ++i) {
                if (r.model.Online && !r.model.OutputMap[i].isEmpty())
                    QVERIFY2(Table.contains(r.model.OutputMap[i].toLatin1()),
                             qPrintable(r.model.OutputMap[i]));
            }
        } else if (operation == u"map"_s) {
            r.view.setCurrentRow(Control::List1, 3);
            r.view.setCurrentRow(Control::list2, 4);
            r.mapping.MapCurrent();
            QCOMPARE(r.model.OutputMap[4], u"[1][4][2][4][1][0][0][0]"_s);
            for (int i : {1, 2, 3, 5, 6})
                QCOMPARE(r.model.OutputMap[i], before[i]);
            seen = u"model mapped; others kept"_s;
        } else if (operation == u"unmap"_s) {
            r.view.setCurrentRow(Control::List1, 4); // output 5, known only to the model
            r.mapping.MapCurrent();
            const bool cleared = r.model.OutputMap[5].isEmpty();
            seen = cleared ? u"unmapped"_s : u"clear unanswered: mapping kept"_s;
            for (int i : {1, 2, 3, 4, 6})
                QCOMPARE(r.model.OutputMap[i], before[i]);
            if (!cleared)
                QCOMPARE(r.model.OutputMap[5], before[5]);
        } else if (operation == u"read-back"_s) {
            r.readBack.GetAllRawMappings();
            seen = u"%1 rows read"_s.arg(r.model.MapStrings);
            QVERIFY(r.model.MapStrings <= 3);
            for (int k = 1; k <= r.model.MapStrings; ++k)
                QVERIFY(Table.contains(r.model.RawMap[k].toLatin1()));
            QVERIFY(r.view.isEnabled(Control::cmdMapIt)); // the download bracket closed
        } else if (operation == u"file load"_s) {
            QTemporaryDir dir;
            QFile f(dir.filePath(u"part.qvr"_s));
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("[1][4][2][5][1][0][0][0]\r\n[1][6][2][6][1][2][1][2]\r\n");
            f.close();
            QVERIFY(r.files.LoadMatrixMappings(f.fileName(), u"Part"_s));
            for (int i : {1, 2, 3, 5})
                QCOMPARE(r.model.OutputMap[i], before[i]);
            seen = u"file applied; others kept"_s;
        } else {
            r.unitView.lightAll(true);
            r.status.UpdateBitStatus();
            r.status.ShowStatus();
            int lit = 0;
            for (int k = 1; k <= 32; ++k)
                lit += r.unitView.lamps[k];
            // Lamps change only on a whole 32-bit answer; nothing is lit on unit 1.
            QVERIFY(lit == 0 || lit == 32);
            seen = lit == 0 ? u"lamps updated"_s : u"lamps kept"_s;
        }
        const double seconds = clock.elapsed() / 1000.0;
        QVERIFY2(seconds < exchanges * 2.2 + 1.5, qPrintable(QString::number(seconds)));
        const bool told = r.view.beeps > 0 || !r.view.boxes.isEmpty();
        // A line that hangs up after one command still answered a single-command operation.
        const bool replyMissed = fault == u"silent"_s || fault == u"cut"_s ||
                                 fault.startsWith(u"slow"_s) ||
                                 (fault.startsWith(u"hangup"_s) && operation != u"map"_s);
        if (replyMissed)
            QVERIFY2(told, "a missing reply must reach the operator");
        if (fault == u"none"_s)
            QVERIFY(!told);
        qInfo("| %s | %s | %.1f s | %s | %s |", qPrintable(fault), qPrintable(operation), seconds,
              told ? "told (Comm Error!, beep or dialog)" : "nothing to tell", qPrintable(seen));
    }
};

QTEST_GUILESS_MAIN(TestFaults)
#include "tst_faults.moc"
