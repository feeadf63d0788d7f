// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/MainWindow.h"

#include "gui/Dialogs.h"
#include "gui/Lamp.h"
#include "gui/Palette.h"
#include "gui/PanelArtwork.h"
#include "gui/TallyList.h"
#include "gui/Twips.h"
#include "gui/WindowOutline.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QProxyStyle>
#include <QPushButton>
#include <QWindow>

#include <cstdlib>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// A label that keeps mouse presses to itself, so that only the bare background drags the
// window; a click on it can be reacted to.
class Caption : public QLabel
{
    Q_OBJECT
public:
    using QLabel::QLabel;

signals:
    void clicked();

protected:
    void mousePressEvent(QMouseEvent *event) override { event->accept(); }
    void mouseReleaseEvent(QMouseEvent *event) override
    {
        event->accept();
        if (rect().contains(event->position().toPoint()))
            emit clicked();
    }
};

// The desktop's check box: a 13-pixel box and a narrow gap before the caption, so that "Latch"
// fits the box's 41 pixels whole.
class CompactCheckStyle : public QProxyStyle
{
public:
    using QProxyStyle::QProxyStyle;
    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override
    {
        if (metric == PM_IndicatorWidth || metric == PM_IndicatorHeight)
            return 13;
        if (metric == PM_CheckBoxLabelSpacing)
            return 2;
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
};

// The desktop's push button, except that a face given a colour of its own (red under test,
// green online) is drawn flat in exactly that colour, which the style's shading would soften.
class FlatFaceStyle : public QProxyStyle
{
public:
    static constexpr const char *FlatFace = "flatFace";
    using QProxyStyle::QProxyStyle;
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        if (element != PE_PanelButtonCommand || !widget || !widget->property(FlatFace).toBool()) {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            return;
        }
        painter->fillRect(option->rect, option->palette.color(QPalette::Button));
        painter->setPen(option->palette.color(QPalette::Shadow));
        painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
    }
};

// A button's back colour: the desktop's face, or a flat one of the given colour.
void setButtonFace(QWidget *w, const std::optional<QColor> &colour)
{
    w->setProperty(FlatFaceStyle::FlatFace, colour.has_value());
    QPalette p = w->palette();
    p.setColor(QPalette::Button, colour.value_or(QApplication::palette(w).color(QPalette::Button)));
    w->setPalette(p);
}

// A control's face: family, size in points and weight. No family: the window's own.
struct Face
{
    const char *family = nullptr;
    double points = 0;
    bool bold = false;
};
constexpr Face Bold6_5{"Arial", 6.5, true};
constexpr Face Bold7{"Arial", 7, true};
constexpr Face Bold8{"Arial", 8, true};
constexpr Face Bold9{"Arial", 9, true};
constexpr Face Bold9_75{"Arial", 9.75, true};
constexpr Face Sans9_75{"Liberation Sans", 9.75, false};
constexpr Face Inherited{};

QFont fontOf(const Face &face)
{
    QFont f(QString::fromLatin1(face.family), 9);
    f.setPointSizeF(face.points);
    f.setBold(face.bold);
    return f;
}

enum class Kind {
    Label,       // transparent caption, white text
    ValueBox,    // sunken read-out box, black on lavender
    OutputList,  // four columns, cyan on the window's blue
    InputList,   // two columns, cyan on the window's blue
    SecondList,  // two columns, black on light blue
    Entry,       // the input number entry: white on the window's blue, three characters
    Button,      // in the tab order, with an opaque face for its back colour
    Check,       // in the tab order, with an opaque face so black and red captions read
    Lamp,        // round indicator
    FrameButton, // minimise and close: never take the focus
};

// One control of the panel: what the view calls it, its kind, its name, caption, place and
// size in twips (left, top, width, height), face, index in its control array (-1: none) and
// whether it shows at start. In the order they are made, which is also their stacking order.
struct ControlRow
{
    std::optional<Control> control; // none: a heading the logic never touches
    Kind kind;
    const char *name;
    const char *caption;
    QRect twips;
    Face face;
    int index;
    bool shown;
};

// clang-format off
const ControlRow Panel[] = {
    // Headings, and the progress text that takes the outputs heading's place during downloads.
    {Control::lblTallyOutputs,    Kind::Label,       "lblTallyOutputs",    "Tally Outputs", {1245, 1680, 1635,  375}, Bold9,     -1, true},
    {Control::lblDownloading,     Kind::Label,       "lblDownloading",     "Download",      {1425, 1665, 2115,  345}, Bold9,     -1, false},
    {std::nullopt,                Kind::Label,       "Label10",            "Mapping",       {3300, 1680,  945,  315}, Bold9,     -1, true},
    {std::nullopt,                Kind::Label,       "Label3",             "Tally Inputs",  {5130, 1665, 1365,  285}, Bold9,      1, true},
    // The lists; the second input list and the boolean buttons show in boolean layout only.
    {Control::List1,              Kind::OutputList,  "List1",              "",              {1050, 1980, 3690, 4095}, Bold9_75,  -1, true},
    {Control::list2,              Kind::InputList,   "list2",              "",              {4830, 1980, 3210, 4110}, Bold9_75,  -1, true},
    {Control::list3,              Kind::SecondList,  "list3",              "",              {4830, 4380, 3210, 1710}, Bold9_75,  -1, false},
    {Control::cmdBoolAnd,         Kind::Button,      "cmdBool",            "AND",           {5610, 4020,  795,  285}, Bold8,      0, false},
    {Control::cmdBoolOr,          Kind::Button,      "cmdBool",            "OR",            {6480, 4020,  795,  285}, Bold8,      1, false},
    // Keyboard entry of an input number, beside the map button.
    {Control::txtInput,           Kind::Entry,       "txtInput",           "0",             {6480, 1590,  585,  330}, Sans9_75,  -1, true},
    {Control::cmdMapIt,           Kind::Button,      "cmdMapIt",           "Map Tally",     {7140, 1590,  945,  315}, Bold8,     -1, true},
    {Control::cmdOnline,          Kind::Button,      "cmdOnline",          "OFFLINE",       {4080, 1230, 1095,  315}, Bold8,     -1, true},
    // Selection read-out; its captions are narrow, and a smaller face keeps them whole.
    {std::nullopt,                Kind::Label,       "Label6",             "Output Unit",   {2595, 6240,  870,  285}, Bold7,     -1, true},
    {Control::lblOutUnit,         Kind::ValueBox,    "lblOutUnit",         "0",             {3585, 6210,  420,  285}, Bold9,     -1, true},
    {std::nullopt,                Kind::Label,       "Label8",             "Ch",            {4095, 6240,  375,  315}, Bold9,     -1, true},
    {Control::lblOutChannel,      Kind::ValueBox,    "lblOutChannel",      "0",             {4365, 6210,  375,  285}, Bold9,     -1, true},
    {std::nullopt,                Kind::Label,       "Label7",             "Input Unit",    {5925, 6240,  870,  285}, Bold7,     -1, true},
    {Control::lblInUnit,          Kind::ValueBox,    "lblInUnit",          "0",             {6900, 6210,  420,  285}, Bold9,     -1, true},
    {std::nullopt,                Kind::Label,       "Label9",             "Ch",            {7425, 6240,  375,  285}, Bold9,     -1, true},
    {Control::lblInChannel,       Kind::ValueBox,    "lblInChannel",       "0",             {7680, 6210,  375,  285}, Bold9,     -1, true},
    {Control::cmdTest,            Kind::Button,      "cmdTest",            "Test",          {1050, 6210,  615,  285}, Bold8,     -1, true},
    {Control::chkTest,            Kind::Check,       "chkTest",            "Latch",         {1680, 6210,  615,  285}, Bold6_5,   -1, true},
    {Control::lblError,           Kind::Label,       "lblError",           "ERROR MESSAGE", {5760, 6615, 2355,  285}, Bold9,     -1, true},
    {Control::lblFileName,        Kind::Label,       "lblFileName",        "File",          {5850, 6915, 2220,  285}, Bold8,     -1, true},
    {Control::Check1,             Kind::Check,       "Check1",             "Unit Status",   {1050, 6750, 1245,  285}, Bold8,     -1, true},
    {Control::Check3,             Kind::Check,       "Check3",             "Boolean",       {1050, 7080, 1245,  285}, Bold8,     -1, true},
    {Control::Check2,             Kind::Check,       "Check2",             "Advanced",      {1050, 7410, 1245,  285}, Bold8,     -1, true},
    {Control::cmdCancelDownload,  Kind::Button,      "cmdCancelDownload",  "Cancel",        {4035, 6750,  930,  285}, Bold8,     -1, false},
    {Control::cmdRefresh,         Kind::Button,      "cmdRefresh",         "Refresh",       {4035, 7080,  930,  285}, Bold8,     -1, true},
    {Control::cmdInit,            Kind::Button,      "cmdInit",            "Clear All",     {4035, 7410,  930,  285}, Bold8,     -1, true},
    {Control::cmdLoadMatrix,      Kind::Button,      "cmdLoadMatrix",      "Load",          {6000, 7170,  930,  285}, Bold8,     -1, true},
    {Control::cmdSaveMatrix,      Kind::Button,      "cmdSaveMatrix",      "Save",          {6960, 7170,  930,  285}, Bold8,     -1, true},
    {Control::cmdPartLoadMatrix,  Kind::Button,      "cmdPartLoadMatrix",  "Partial Load",  {6000, 7500, 1890,  245}, Bold8,     -1, true},
    // Labels without text that carry the version tool tips.
    {Control::lblMainVersionInfo, Kind::Label,       "lblMainVersionInfo", "",              {3120,  720, 3495,  255}, Bold9,     -1, true},
    {Control::lblVersionInfo,     Kind::Label,       "lblVersionInfo",     "",              {1575, 7920, 4575,  375}, Bold9,     -1, true},
    // Transmit and receive lamps.
    {std::nullopt,                Kind::Label,       "Label1",             "TX",            { 855, 1095,  360,  180}, Bold6_5,   -1, true},
    {std::nullopt,                Kind::Label,       "Label4",             "RX",            {7845, 1110,  345,  180}, Bold6_5,   -1, true},
    {Control::Shape1,             Kind::Lamp,        "Shape1",             "",              { 945,  795,  195,  150}, Inherited, -1, true},
    {Control::Shape2,             Kind::Lamp,        "Shape2",             "",              {7905,  810,  210,  150}, Inherited, -1, true},
    // Frame buttons: the window has no title bar of its own.
    {std::nullopt,                Kind::FrameButton, "cmdMin",             "_",             {7080,  750,  300,  300}, Bold8,     -1, true},
    {std::nullopt,                Kind::FrameButton, "cmdClose",           "X",             {7440,  750,  300,  300}, Bold8,     -1, true},
};
// clang-format on

// A caption's colour while the control is enabled; disabled, it is drawn in the desktop's
// greyed text whatever its colour.
void setCaptionColour(QWidget *w, QPalette::ColorRole role, const QColor &c)
{
    QPalette p = w->palette();
    p.setColor(QPalette::Active, role, c);
    p.setColor(QPalette::Inactive, role, c);
    w->setPalette(p);
}

// A control of the given kind on the panel, with the look its kind has in common.
QWidget *make(const ControlRow &row, QWidget *panel)
{
    const QString caption = QString::fromLatin1(row.caption);
    const QColor ground = groundColour();
    const QColor cyan(0, 255, 255);
    switch (row.kind) {
    case Kind::Label:
    case Kind::ValueBox: {
        auto *l = new Caption(caption, panel);
        setPaletteColour(l, QPalette::WindowText, Qt::white);
        if (row.kind == Kind::ValueBox) {
            l->setAlignment(Qt::AlignCenter);
            l->setAutoFillBackground(true);
            l->setFrameShape(QFrame::Panel);
            l->setFrameShadow(QFrame::Sunken);
            setPaletteColour(l, QPalette::Window, QColor(230, 230, 250));
            setPaletteColour(l, QPalette::WindowText, Qt::black);
        }
        return l;
    }
    case Kind::OutputList:
        return new TallyList(4, cyan, ground, panel);
    case Kind::InputList:
        return new TallyList(2, cyan, ground, panel);
    case Kind::SecondList:
        return new TallyList(2, Qt::black, QColor(128, 128, 255), panel);
    case Kind::Entry: {
        auto *e = new QLineEdit(caption, panel);
        e->setMaxLength(3);
        e->setAlignment(Qt::AlignCenter);
        setPaletteColour(e, QPalette::Base, ground);
        setCaptionColour(e, QPalette::Text, Qt::white);
        return e;
    }
    case Kind::Button:
    case Kind::FrameButton: {
        auto *b = new QPushButton(caption, panel);
        b->setFocusPolicy(row.kind == Kind::Button ? Qt::TabFocus : Qt::NoFocus);
        b->setAutoFillBackground(row.kind == Kind::Button);
        return b;
    }
    case Kind::Check: {
        auto *b = new QCheckBox(caption, panel);
        b->setFocusPolicy(Qt::TabFocus);
        b->setAutoFillBackground(true);
        setPaletteColour(b, QPalette::Window, panel->palette().color(QPalette::Button));
        setCaptionColour(b, QPalette::WindowText, Qt::black);
        return b;
    }
    case Kind::Lamp:
        return new Lamp(panel);
    }
    return nullptr;
}

} // namespace

MainWindow::MainWindow(Dialogs &dialogs, QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint), m_dialogs(dialogs),
      m_endProcess([] { std::_Exit(0); })
{
    setObjectName(QStringLiteral("frmKestrelMain"));
    setWindowTitle(QStringLiteral("Kestrel"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    // On Wayland a mask shapes only where the window takes input: what lies outside the
    // outline is left transparent instead. X11 applies the mask to the window itself.
    if (QGuiApplication::platformName().startsWith(u"wayland"_s))
        setAttribute(Qt::WA_TranslucentBackground);
    build();
}

MainWindow::~MainWindow() = default;

void MainWindow::build()
{
    const Twips t = Twips::forWidget(this);
    setFixedSize(t.px(InnerWidthTwips), t.px(InnerHeightTwips));
    setAutoFillBackground(false);
    setFocusPolicy(Qt::StrongFocus);

    m_artwork = PanelArtwork::draw(WindowOutline::polygon(1, 1, 0, 0, t.pixelsPerDesignUnit()),
                                   devicePixelRatioF());

    QHash<QString, QWidget *> named; // the last of each name, for what only one control has
    for (const ControlRow &row : Panel) {
        QWidget *w = make(row, this);
        w->setObjectName(QString::fromLatin1(row.name));
        w->setGeometry(t.rect(row.twips.x(), row.twips.y(), row.twips.width(), row.twips.height()));
        if (row.face.family)
            w->setFont(fontOf(row.face));
        if (row.index >= 0)
            w->setProperty("index", row.index);
        if (!row.shown)
            w->hide();
        if (row.control)
            m_controls.insert(*row.control, w);
        named.insert(w->objectName(), w);
    }

    setPaletteColour(named[u"lblDownloading"_s], QPalette::WindowText, QColor(192, 192, 255));
    named[u"List1"_s]->setFocusPolicy(Qt::StrongFocus);
    named[u"list3"_s]->setToolTip(u"Select Seconday boolean parameter"_s);
    setButtonFace(named[u"cmdOnline"_s], QColor(255, 128, 128));
    auto *error = static_cast<Caption *>(named[u"lblError"_s]);
    setPaletteColour(error, QPalette::WindowText, Qt::yellow);
    connect(error, &Caption::clicked, error, &QLabel::clear);
    for (const QString &lamp : {u"Label1"_s, u"Label4"_s})
        static_cast<QLabel *>(named[lamp])->setAlignment(Qt::AlignCenter);
    named[u"Label1"_s]->setAutoFillBackground(true); // "TX": the one opaque label
    setPaletteColour(named[u"Label1"_s], QPalette::Window, QColor(44, 44, 108));

    m_cmdMin = static_cast<QAbstractButton *>(named[u"cmdMin"_s]);
    connect(m_cmdMin, &QAbstractButton::clicked, this, [this] {
        setFocus(Control::List1);
        showMinimized();
    });
    m_cmdClose = static_cast<QAbstractButton *>(named[u"cmdClose"_s]);
    connect(m_cmdClose, &QAbstractButton::clicked, this, [this] { m_endProcess(); });

    auto *checkStyle = new CompactCheckStyle(QApplication::style()->name());
    checkStyle->setParent(this); // made after the boxes, so that it goes after them
    for (QCheckBox *b : findChildren<QCheckBox *>())
        b->setStyle(checkStyle);
    auto *buttonStyle = new FlatFaceStyle(QApplication::style()->name());
    buttonStyle->setParent(this);
    for (QPushButton *b : findChildren<QPushButton *>())
        b->setStyle(buttonStyle);

    // A press on a control stays with it: only the bare background moves the window.
    QList<QWidget *> pressable = m_controls.values();
    pressable << m_cmdMin << m_cmdClose;
    for (QWidget *w : pressable) {
        if (!qobject_cast<Lamp *>(w)) // a lamp is painted on the background
            w->setAttribute(Qt::WA_NoMousePropagation);
    }

    // Offline until the link is tried.
    for (Control c : OnlineOnlyControls)
        m_controls.value(c)->setEnabled(false);

    setTabOrder(control(Control::List1), control(Control::txtInput));
}

TallyList *MainWindow::list(Control c) const { return qobject_cast<TallyList *>(control(c)); }

QAbstractButton *MainWindow::button(Control c) const
{
    return qobject_cast<QAbstractButton *>(control(c));
}

QLineEdit *MainWindow::entry() const
{
    return qobject_cast<QLineEdit *>(control(Control::txtInput));
}

void MainWindow::applyOutline(const QRegion &region)
{
    setMask(region);
    update();
}

QColor MainWindow::toQColor(Colour c)
{
    return c.buttonFace ? QApplication::palette().color(QPalette::Button)
                        : QColor(c.red, c.green, c.blue);
}

void MainWindow::setText(Control c, const QString &text)
{
    QWidget *w = control(c);
    if (auto *l = qobject_cast<QLabel *>(w))
        l->setText(text);
    else if (auto *b = qobject_cast<QAbstractButton *>(w))
        b->setText(text);
    else if (auto *e = qobject_cast<QLineEdit *>(w))
        e->setText(text);
}

QString MainWindow::text(Control c) const
{
    QWidget *w = control(c);
    if (auto *l = qobject_cast<QLabel *>(w))
        return l->text();
    if (auto *b = qobject_cast<QAbstractButton *>(w))
        return b->text();
    if (auto *e = qobject_cast<QLineEdit *>(w))
        return e->text();
    return {};
}

void MainWindow::setToolTip(Control c, const QString &text)
{
    if (QWidget *w = control(c))
        w->setToolTip(text);
}

void MainWindow::setEnabled(Control c, bool enabled)
{
    if (QWidget *w = control(c)) {
        w->setEnabled(enabled);
        paintIfBlocked(w);
    }
}

void MainWindow::setVisible(Control c, bool visible)
{
    QWidget *w = control(c);
    if (!w)
        return;
    w->setVisible(visible);
    paintIfBlocked(w);
}

void MainWindow::beginBlocking()
{
    if (m_downloading)
        return;
    // The whole window is painted now, over anything a closed dialog left on it; every control
    // too: a window repaint alone leaves opaque ones to the backing store.
    m_downloading = true;
    for (QWidget *child : findChildren<QWidget *>())
        child->update();
    repaint();
}

void MainWindow::endBlocking()
{
    m_downloading = false;
    QCoreApplication::processEvents();
}

void MainWindow::paintIfBlocked(QWidget *w)
{
    // During a download no event is served to paint what changed: it is painted at once.
    if (!m_downloading)
        return;
    if (w->isVisible())
        w->repaint();
    else
        repaint(w->geometry());
}

void MainWindow::setBackColour(Control c, Colour colour)
{
    QWidget *w = control(c);
    if (auto *lamp = qobject_cast<Lamp *>(w))
        lamp->setColour(toQColor(colour));
    else if (w)
        setButtonFace(w, colour.buttonFace ? std::nullopt : std::optional(toQColor(colour)));
}

void MainWindow::setForeColour(Control c, Colour colour)
{
    if (QWidget *w = control(c))
        setCaptionColour(w, QPalette::WindowText, toQColor(colour));
}

void MainWindow::setChecked(Control c, bool checked)
{
    if (auto *b = button(c))
        b->setChecked(checked);
}

bool MainWindow::isChecked(Control c) const
{
    const QAbstractButton *b = button(c);
    return b && b->isChecked();
}

void MainWindow::setHeightTwips(Control c, int twips)
{
    if (QWidget *w = control(c))
        w->resize(w->width(), Twips::forWidget(this).px(twips));
}

void MainWindow::setFocus(Control c)
{
    // Focus on the panel means the panel, not a secondary window, is the one typed into.
    if (isVisible() && !isActiveWindow())
        activateWindow();
    if (QWidget *w = control(c))
        w->setFocus(Qt::OtherFocusReason);
}

void MainWindow::selectAllText(Control c)
{
    if (auto *e = qobject_cast<QLineEdit *>(control(c)))
        e->selectAll();
}

void MainWindow::repaintNow(Control c)
{
    if (QWidget *w = control(c))
        w->repaint();
}

void MainWindow::setColumnWidths(Control c, const QList<int> &widths)
{
    if (TallyList *l = list(c))
        l->setColumnWeights(widths);
}

void MainWindow::clearRows(Control c)
{
    if (TallyList *l = list(c))
        l->rows()->clear();
}

void MainWindow::addRow(Control c, const QString &text)
{
    if (TallyList *l = list(c))
        l->rows()->addRow(text, l->background());
}

int MainWindow::rowCount(Control c) const
{
    const TallyList *l = list(c);
    return l ? l->rows()->rowCount() : 0;
}

void MainWindow::setRowText(Control c, int row, const QString &text)
{
    if (TallyList *l = list(c))
        l->rows()->setRowText(row, text);
}

void MainWindow::setRowColour(Control c, int row, Colour colour)
{
    if (TallyList *l = list(c))
        l->rows()->setRowColour(row, toQColor(colour));
}

int MainWindow::currentRow(Control c) const
{
    const TallyList *l = list(c);
    return l ? l->currentRow() : -1;
}

void MainWindow::setCurrentRow(Control c, int row)
{
    TallyList *l = list(c);
    if (!l)
        return;
    const bool again = row == l->currentRow();
    l->setCurrentRow(row);
    // The output row selected again, after a redraw of the list, is told as a move: the tests
    // under way may have changed beneath it, and its read-out follows.
    if (again && c == Control::List1)
        emit l->currentRowChanged(row);
}

void MainWindow::showWindow(Window w, bool shown)
{
    if (QWidget *widget = m_windows.value(w))
        widget->setVisible(shown);
}

MessageResult MainWindow::messageBox(const QString &text, const QString &title,
                                     MessageButtons buttons, MessageIcon icon,
                                     MessageResult defaultButton)
{
    return m_dialogs.messageBox({text, title, buttons, icon, defaultButton}, this);
}

QString MainWindow::chooseFile(FileDialog kind, const QString &title, const QString &filter)
{
    return m_dialogs.chooseFile({kind, title, filter}, this);
}

void MainWindow::processEvents() { QCoreApplication::processEvents(); }

void MainWindow::beep() { QApplication::beep(); }

void MainWindow::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    if (!mask().isEmpty())
        p.setClipRegion(mask());
    p.fillRect(rect(), groundColour());
    p.drawPixmap(0, 0, m_artwork);
}

void MainWindow::mousePressEvent(QMouseEvent *event)
{
    // The bare background moves the window, with any button, as a title bar would.
    if (QWindow *handle = windowHandle())
        handle->startSystemMove();
    event->accept();
}

void MainWindow::focusInEvent(QFocusEvent *) { setFocus(Control::List1); }

void MainWindow::closeEvent(QCloseEvent *event)
{
    emit unloading();
    event->accept();
}

#include "MainWindow.moc"
