#include "matrix/MapString.h"
#include "matrix/MatrixLists.h"
#include "support/FakeView.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Three outputs at unit 1 channels 1..3; twelve inputs at unit 2 channels 1..12.
SystemModel studio()
{
    SystemModel m;
    m.NumberOfOutputs = 3;
    for (int i = 1; i <= 3; ++i) {
        m.OutputName[i] = u"Cam "_s + QString::number(i);
        m.OutputUnit[i] = 1;
        m.OutputChannel[i] = qint16(i);
    }
    m.NumberOfInputs = 12;
    m.InputName[0] = u"Unassigned"_s;
    for (int j = 1; j <= 12; ++j) {
        m.InputName[j] = u"Bus "_s + QString::number(j);
        m.InputUnit[j] = 2;
        m.InputChannel[j] = qint16(j);
    }
    return m;
}

} // namespace

class TestMatrixLists : public QObject
{
    Q_OBJECT
private slots:
    void fillLists()
    {
        SystemModel m = studio();
        FakeView v;
        MatrixLists(m, v).FillLists();
        QCOMPARE(v.list(Control::List1).rows,
                 (QStringList{u"Cam 1\t"_s, u"Cam 2\t"_s, u"Cam 3\t"_s}));
        QCOMPARE(v.rowCount(Control::list2), 13);
        QCOMPARE(v.rowText(Control::list2, 0), u"0\tUnassigned"_s);
        QCOMPARE(v.rowText(Control::list2, 12), u"12\tBus 12"_s);
        QCOMPARE(v.list(Control::list3).rows, v.list(Control::list2).rows);
        QCOMPARE(v.list(Control::List1).widths, (QList<int>{30, 5, 4, 5}));
        QCOMPARE(v.list(Control::list2).widths, (QList<int>{8, 30}));
    }

    void fillListsEmptySystem()
    {
        SystemModel m;
        m.InputName[0] = u"Unassigned"_s;
        FakeView v;
        MatrixLists(m, v).FillLists();
        QCOMPARE(v.rowCount(Control::List1), 0);
        QCOMPARE(v.list(Control::list2).rows, QStringList{u"0\tUnassigned"_s});
        QCOMPARE(v.list(Control::list3).rows, QStringList{u"0\tUnassigned"_s});
    }

    void rowText_data()
    {
        QTest::addColumn<QString>("map");
        QTest::addColumn<QString>("row");
        QTest::addColumn<QString>("source");
        QTest::newRow("unmapped") << u""_s << u"Cam 2\t\t\t"_s << u""_s;
        QTest::newRow("plain row 3") << ComposeMapString(1, 2, 2, 3) << u"Cam 2\t 3\t\t"_s << u" 3"_s;
        QTest::newRow("plain unassigned") << ComposeMapString(1, 2, 0, 0) << u"Cam 2\t\t\t"_s << u""_s;
        QTest::newRow("and 5 & 12") << ComposeBoolMapString(1, 2, 2, 5, 2, 12, AndMapping)
                                    << u"Cam 2\t 5\t&\t 12"_s << u" 5"_s;
        QTest::newRow("or 5 || 1") << ComposeBoolMapString(1, 2, 2, 5, 2, 1, OrMapping)
                                   << u"Cam 2\t 5\t||\t 1"_s << u" 5"_s;
        QTest::newRow("second unassigned shows 0")
            << ComposeBoolMapString(1, 2, 2, 5, 0, 0, AndMapping) << u"Cam 2\t 5\t&\t 0"_s << u" 5"_s;
        QTest::newRow("unknown input is count + 1") << ComposeMapString(1, 2, 9, 9)
                                                    << u"Cam 2\t 13\t\t"_s << u" 13"_s;
    }
    void rowText()
    {
        QFETCH(QString, map);
        QFETCH(QString, row);
        QFETCH(QString, source);
        SystemModel m = studio();
        FakeView v;
        MatrixLists lists(m, v);
        lists.FillLists();
        m.OutputMap[2] = map;
        lists.ShowMappingInList(2);
        QCOMPARE(v.rowText(Control::List1, 1), row);
        QCOMPARE(m.OutputSource[2], source);
        QCOMPARE(v.rowText(Control::List1, 0), u"Cam 1\t"_s); // neighbours untouched
    }

    void unknownModeKeepsSecondSource()
    {
        SystemModel m = studio();
        FakeView v;
        MatrixLists lists(m, v);
        lists.FillLists();
        m.OutputMap[1] = ComposeBoolMapString(1, 1, 2, 5, 2, 7, AndMapping);
        lists.ShowMappingInList(1);
        m.OutputMap[1] = ComposeBoolMapString(1, 1, 2, 4, 2, 9, 3);
        lists.ShowMappingInList(1);
        QCOMPARE(v.rowText(Control::List1, 0), u"Cam 1\t 4\t\t 7"_s);
    }

    void outsideRowsIsIgnored()
    {
        SystemModel m = studio();
        FakeView v;
        MatrixLists lists(m, v);
        lists.FillLists();
        m.OutputMap[4] = ComposeMapString(9, 9, 2, 1);
        lists.ShowMappingInList(4);
        lists.ShowMappingInList(0);
        lists.ShowMappingInList(1000);
        QCOMPARE(v.rowCount(Control::List1), 3);
        QCOMPARE(m.OutputSource[4], u""_s);
    }

    void updateListBox1RedrawsAllWhileHidden()
    {
        SystemModel m = studio();
        FakeView v;
        MatrixLists lists(m, v);
        lists.FillLists();
        v.setCurrentRow(Control::List1, 2);
        m.OutputMap[1] = ComposeMapString(1, 1, 2, 1);
        m.OutputMap[3] = ComposeBoolMapString(1, 3, 2, 2, 2, 3, OrMapping);
        v.list1Visibility.clear();
        lists.UpdateListBox1();
        QCOMPARE(v.list(Control::List1).rows,
                 (QStringList{u"Cam 1\t 1\t\t"_s, u"Cam 2\t\t\t"_s, u"Cam 3\t 2\t||\t 3"_s}));
        QCOMPARE(v.list1Visibility, (QList<bool>{false, true}));
        QCOMPARE(v.currentRow(Control::List1), 0);
    }

    void scrollOutputList()
    {
        SystemModel m = studio();
        FakeView v;
        MatrixLists lists(m, v);
        lists.FillLists();
        v.setCurrentRow(Control::List1, 1);
        lists.ScrollOutputList();
        QCOMPARE(v.currentRow(Control::List1), 2);
        lists.ScrollOutputList();
        QCOMPARE(v.currentRow(Control::List1), 2); // the last row stays
    }

    void enableControls_data()
    {
        QTest::addColumn<bool>("online");
        QTest::newRow("offline") << false;
        QTest::newRow("online") << true;
    }
    void enableControls()
    {
        QFETCH(bool, online);
        SystemModel m = studio();
        m.Online = online;
        FakeView v;
        for (Control c : {Control::cmdTest, Control::chkTest, Control::cmdRefresh})
            v.setEnabled(c, online); // as going online or offline left them
        MatrixLists lists(m, v);
        lists.EnableControls(false);
        QVERIFY(!v.isVisible(Control::lblTallyOutputs));
        QVERIFY(v.isVisible(Control::lblDownloading));
        for (Control c : {Control::list2, Control::cmdMapIt, Control::txtInput, Control::cmdInit,
                          Control::cmdTest, Control::chkTest, Control::cmdRefresh})
            QVERIFY(!v.isEnabled(c));
        for (Control c : {Control::List1, Control::list3, Control::Check1, Control::cmdOnline,
                          Control::cmdLoadMatrix})
            QVERIFY(v.isEnabled(c));
        lists.EnableControls(true);
        QVERIFY(v.isVisible(Control::lblTallyOutputs));
        QVERIFY(!v.isVisible(Control::lblDownloading));
        for (Control c : {Control::list2, Control::cmdMapIt, Control::txtInput, Control::cmdInit})
            QVERIFY(v.isEnabled(c));
        for (Control c : {Control::cmdTest, Control::chkTest, Control::cmdRefresh})
            QCOMPARE(v.isEnabled(c), online);
    }

    void booleanLayout()
    {
        SystemModel m = studio();
        FakeView v;
        MatrixLists lists(m, v);
        lists.FillLists();
        v.setFocus(Control::txtInput);
        v.setChecked(Control::Check3, true);
        lists.Check3_Click();
        QCOMPARE(v.at(Control::list2).heightTwips, 1950);
        QCOMPARE(v.currentRow(Control::list2), 1);
        QCOMPARE(v.currentRow(Control::list3), 1);
        for (Control c : {Control::list3, Control::cmdBoolAnd, Control::cmdBoolOr})
            QVERIFY(v.isVisible(c));
        QCOMPARE(v.at(Control::Check3).fore, Colours::Red);
        QCOMPARE(v.focus, Control::List1);

        v.setChecked(Control::Check3, false);
        lists.Check3_Click();
        QCOMPARE(v.at(Control::list2).heightTwips, 4110);
        for (Control c : {Control::list3, Control::cmdBoolAnd, Control::cmdBoolOr})
            QVERIFY(!v.isVisible(c));
        QCOMPARE(v.at(Control::Check3).fore, Colours::Black);
    }
};

QTEST_GUILESS_MAIN(TestMatrixLists)
#include "tst_matrixlists.moc"
