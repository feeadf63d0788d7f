// The unit status poll against kestrel-sim, through the real serial port adapter and command
// channel: the lamps show what the virtual tally system has lit.

#include "link/DeviceCommands.h"
#include "link/QtSerialPortAdapter.h"
#include "events/UnitStatus.h"
#include "sim/SimSession.h"
#include "support/FakeSecondaryViews.h"
#include "support/FakeView.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestUnitStatusSim : public QObject
{
    Q_OBJECT
private slots:
    void lampsShowLitChannels()
    {
        SimSession sim;
        QVERIFY2(sim.start({}), sim.problemText()); // paced at 9600 bit/s, as the line is
        sim.closePort();

        SystemModel model;
        model.Online = true;
        model.EnabledUnitList[1] = 3;
        model.EnabledUnitCount = 1;
        FakeView view;
        QtSerialPortAdapter port;
        port.PortSetDevice(sim.portPath());
        QVERIFY(port.PortOpen());
        CommandChannel channel(model, view, port);
        DeviceCommands commands(model, channel);
        FakeUnitStatusView unitView;
        UnitStatus status(model, view, unitView, channel, commands);

        commands.EnableUnit(3);
        QCOMPARE(model.Response, u"OK"_s);
        QVERIFY(channel.SendCommand(u"Set 3  1"_s));
        QVERIFY(channel.SendCommand(u"Set 3  32"_s));

        view.setChecked(Control::Check1, true);
        status.Check1_Click();
        QCOMPARE(unitView.status, u"UNIT 1 DISABLED 0 LIT"_s);
        unitView.spin = 1;
        status.UpDown1_Change();
        QCOMPARE(unitView.watchUnit, u"3"_s);

        status.tmrInputStatus_Timer();
        view.setChecked(Control::Check1, false);
        status.Check1_Click();
        QCOMPARE(view.text(Control::lblError), u""_s);
        QCOMPARE(model.UnitBits, u"1"_s + QString(30, u'0') + u"1"_s);
        QCOMPARE(unitView.litLamps(), (QList<int>{1, 32}));
        QCOMPARE(unitView.status, u"UNIT 3 ENABLED 2 LIT"_s);
    }
};

QTEST_GUILESS_MAIN(TestUnitStatusSim)
#include "tst_unitstatus_sim.moc"
