#include "gui/MainWindow.h"

#include "gui/Dialogs.h"
#include "gui/Lamp.h"
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

QFont arialBold(double points)
{
    QFont f(QStringLiteral("Arial"), 9);
    f.setPointSizeF(points);
    f.setBold(true);
    return f;
}

void setPaletteColour(QWidget *w, QPalette::ColorRole role, const QColor &c)
{
    QPalette p = w->palette();
    p.setColor(role, c);
    w->setPalette(p);
}

// A caption's colour while the control is enabled; disabled, it is drawn in the desktop's
// greyed text whatever its colour.
void setCaptionColour(QWidget *w, QPalette::ColorRole role, const QColor &c)
{
    QPalette p = w->palette();
    p.setColor(QPalette::Active, role, c);
    p.setColor(QPalette::Inactive, role, c);
    w->setPalette(p);
}

} // namespace

MainWindow::MainWindow(Dialogs &dialogs, QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint), m_dialogs(dialogs),
      m_endProcess([] { std::_Exit(0); })
{
    setObjectName(QStringLiteral("frmKestrelMain"));
    setWindowTitle(QStringLiteral("Kestrel"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    build();
}

MainWindow::~MainWindow() = default;

QLabel *MainWindow::label(const QString &name, const QString &text, QRect geometry)
{
    auto *l = new Caption(text, this);
    l->setObjectName(name);
    l->setGeometry(geometry);
    l->setFont(arialBold(9));
    setPaletteColour(l, QPalette::WindowText, Qt::white);
    return l;
}

void MainWindow::build()
{
    const Twips t = Twips::forWidget(this);
    setFixedSize(t.px(InnerWidthTwips), t.px(InnerHeightTwips));
    setAutoFillBackground(false);
    setFocusPolicy(Qt::StrongFocus);

    m_artwork = PanelArtwork::draw(WindowOutline::polygon(1, 1, 0, 0, t.pixelsPerDesignUnit()),
                                   devicePixelRatioF());

    auto add = [this](Control c, QWidget *w) { m_controls.insert(c, w); };
    auto button = [&](Control c, const QString &name, const QString &caption, QRect g) {
        auto *b = new QPushButton(caption, this);
        b->setObjectName(name);
        b->setGeometry(g);
        b->setFocusPolicy(Qt::TabFocus);
        b->setFont(arialBold(8));
        b->setAutoFillBackground(true);
        add(c, b);
        return b;
    };
    auto check = [&](Control c, const QString &name, const QString &caption, QRect g) {
        auto *b = new QCheckBox(caption, this);
        b->setObjectName(name);
        b->setGeometry(g);
        b->setFocusPolicy(Qt::TabFocus);
        b->setFont(arialBold(8));
        b->setAutoFillBackground(true); // an opaque face, so black and red captions read
        setPaletteColour(b, QPalette::Window, palette().color(QPalette::Button));
        setCaptionColour(b, QPalette::WindowText, Qt::black);
        add(c, b);
        return b;
    };
    auto valueBox = [&](Control c, const QString &name, QRect g) {
        QLabel *l = label(name, QStringLiteral("0"), g);
        l->setAlignment(Qt::AlignCenter);
        l->setAutoFillBackground(true);
        l->setFrameShape(QFrame::Panel);
        l->setFrameShadow(QFrame::Sunken);
        setPaletteColour(l, QPalette::Window, QColor(230, 230, 250));
        setPaletteColour(l, QPalette::WindowText, Qt::black);
        add(c, l);
    };

    // Headings and the progress text that takes the outputs heading's place during downloads.
    add(Control::lblTallyOutputs,
        label(QStringLiteral("lblTallyOutputs"), QStringLiteral("Tally Outputs"),
              t.rect(1245, 1680, 1635, 375)));
    QLabel *downloading = label(QStringLiteral("lblDownloading"), QStringLiteral("Download"),
                                t.rect(1425, 1665, 2115, 345));
    setPaletteColour(downloading, QPalette::WindowText, QColor(192, 192, 255));
    downloading->hide();
    add(Control::lblDownloading, downloading);
    label(QStringLiteral("Label10"), QStringLiteral("Mapping"), t.rect(3300, 1680, 945, 315));
    QLabel *inputsHeading = label(QStringLiteral("Label3"), QStringLiteral("Tally Inputs"),
                                  t.rect(5130, 1665, 1365, 285));
    inputsHeading->setProperty("index", 1);

    // The lists.
    const QColor cyan(0, 255, 255);
    const QColor ground(82, 82, 169);
    auto makeList = [&](Control c, const QString &name, int columns, const QColor &text,
                        const QColor &background, QRect g) {
        auto *l = new TallyList(columns, text, background, this);
        l->setObjectName(name);
        l->setGeometry(g);
        l->setFont(arialBold(9.75));
        add(c, l);
        return l;
    };
    TallyList *outputs = makeList(Control::List1, QStringLiteral("List1"), 4, cyan, ground,
                                  t.rect(1050, 1980, 3690, 4095));
    outputs->setFocusPolicy(Qt::StrongFocus);
    makeList(Control::list2, QStringLiteral("list2"), 2, cyan, ground,
             t.rect(4830, 1980, 3210, 4110));
    TallyList *second = makeList(Control::list3, QStringLiteral("list3"), 2, Qt::black,
                                 QColor(128, 128, 255), t.rect(4830, 4380, 3210, 1710));
    second->setToolTip(QStringLiteral("Select Seconday boolean parameter"));
    second->hide();

    QPushButton *andButton = button(Control::cmdBoolAnd, QStringLiteral("cmdBool"),
                                    QStringLiteral("AND"), t.rect(5610, 4020, 795, 285));
    andButton->setProperty("index", 0);
    andButton->hide();
    QPushButton *orButton = button(Control::cmdBoolOr, QStringLiteral("cmdBool"),
                                   QStringLiteral("OR"), t.rect(6480, 4020, 795, 285));
    orButton->setProperty("index", 1);
    orButton->hide();

    // Keyboard entry of an input number, beside the map button.
    auto *entry = new QLineEdit(QStringLiteral("0"), this);
    entry->setObjectName(QStringLiteral("txtInput"));
    entry->setGeometry(t.rect(6480, 1590, 585, 330));
    entry->setMaxLength(3);
    entry->setAlignment(Qt::AlignCenter);
    QFont entryFont(QStringLiteral("Liberation Sans"));
    entryFont.setPointSizeF(9.75);
    entry->setFont(entryFont);
    setPaletteColour(entry, QPalette::Base, ground);
    setCaptionColour(entry, QPalette::Text, Qt::white);
    add(Control::txtInput, entry);

    button(Control::cmdMapIt, QStringLiteral("cmdMapIt"), QStringLiteral("Map Tally"),
           t.rect(7140, 1590, 945, 315));
    QPushButton *online = button(Control::cmdOnline, QStringLiteral("cmdOnline"),
                                 QStringLiteral("OFFLINE"), t.rect(4080, 1230, 1095, 315));
    setPaletteColour(online, QPalette::Button, QColor(255, 128, 128));

    // Selection read-out.
    // The read-out captions are narrow: a smaller face keeps them whole.
    label(QStringLiteral("Label6"), QStringLiteral("Output Unit"), t.rect(2595, 6240, 870, 285))
        ->setFont(arialBold(7));
    valueBox(Control::lblOutUnit, QStringLiteral("lblOutUnit"), t.rect(3585, 6210, 420, 285));
    label(QStringLiteral("Label8"), QStringLiteral("Ch"), t.rect(4095, 6240, 375, 315));
    valueBox(Control::lblOutChannel, QStringLiteral("lblOutChannel"), t.rect(4365, 6210, 375, 285));
    label(QStringLiteral("Label7"), QStringLiteral("Input Unit"), t.rect(5925, 6240, 870, 285))
        ->setFont(arialBold(7));
    valueBox(Control::lblInUnit, QStringLiteral("lblInUnit"), t.rect(6900, 6210, 420, 285));
    label(QStringLiteral("Label9"), QStringLiteral("Ch"), t.rect(7425, 6240, 375, 285));
    valueBox(Control::lblInChannel, QStringLiteral("lblInChannel"), t.rect(7680, 6210, 375, 285));

    button(Control::cmdTest, QStringLiteral("cmdTest"), QStringLiteral("Test"),
           t.rect(1050, 6210, 615, 285));
    check(Control::chkTest, QStringLiteral("chkTest"), QStringLiteral("Latch"),
          t.rect(1680, 6210, 615, 285))
        ->setFont(arialBold(6.5));

    QLabel *error = label(QStringLiteral("lblError"), QStringLiteral("ERROR MESSAGE"),
                          t.rect(5760, 6615, 2355, 285));
    setPaletteColour(error, QPalette::WindowText, Qt::yellow);
    connect(static_cast<Caption *>(error), &Caption::clicked, error, &QLabel::clear);
    add(Control::lblError, error);
    QLabel *fileName =
        label(QStringLiteral("lblFileName"), QStringLiteral("File"), t.rect(5850, 6915, 2220, 285));
    fileName->setFont(arialBold(8));
    add(Control::lblFileName, fileName);

    check(Control::Check1, QStringLiteral("Check1"), QStringLiteral("Unit Status"),
          t.rect(1050, 6750, 1245, 285));
    check(Control::Check3, QStringLiteral("Check3"), QStringLiteral("Boolean"),
          t.rect(1050, 7080, 1245, 285));
    check(Control::Check2, QStringLiteral("Check2"), QStringLiteral("Advanced"),
          t.rect(1050, 7410, 1245, 285));

    button(Control::cmdCancelDownload, QStringLiteral("cmdCancelDownload"),
           QStringLiteral("Cancel"), t.rect(4035, 6750, 930, 285))
        ->hide();
    button(Control::cmdRefresh, QStringLiteral("cmdRefresh"), QStringLiteral("Refresh"),
           t.rect(4035, 7080, 930, 285));
    button(Control::cmdInit, QStringLiteral("cmdInit"), QStringLiteral("Clear All"),
           t.rect(4035, 7410, 930, 285));
    button(Control::cmdLoadMatrix, QStringLiteral("cmdLoadMatrix"), QStringLiteral("Load"),
           t.rect(6000, 7170, 930, 285));
    button(Control::cmdSaveMatrix, QStringLiteral("cmdSaveMatrix"), QStringLiteral("Save"),
           t.rect(6960, 7170, 930, 285));
    button(Control::cmdPartLoadMatrix, QStringLiteral("cmdPartLoadMatrix"),
           QStringLiteral("Partial Load"), t.rect(6000, 7500, 1890, 245));

    // Labels without text that carry the version tool tips.
    add(Control::lblMainVersionInfo,
        label(QStringLiteral("lblMainVersionInfo"), QString(), t.rect(3120, 720, 3495, 255)));
    add(Control::lblVersionInfo,
        label(QStringLiteral("lblVersionInfo"), QString(), t.rect(1575, 7920, 4575, 375)));

    // Transmit and receive lamps.
    QLabel *tx = label(QStringLiteral("Label1"), QStringLiteral("TX"), t.rect(855, 1095, 360, 180));
    tx->setFont(arialBold(6.5));
    tx->setAlignment(Qt::AlignCenter);
    tx->setAutoFillBackground(true); // the one opaque label
    setPaletteColour(tx, QPalette::Window, QColor(44, 44, 108));
    QLabel *rx =
        label(QStringLiteral("Label4"), QStringLiteral("RX"), t.rect(7845, 1110, 345, 180));
    rx->setFont(arialBold(6.5));
    rx->setAlignment(Qt::AlignCenter);
    auto *txLamp = new Lamp(this);
    txLamp->setObjectName(QStringLiteral("Shape1"));
    txLamp->setGeometry(t.rect(945, 795, 195, 150));
    add(Control::Shape1, txLamp);
    auto *rxLamp = new Lamp(this);
    rxLamp->setObjectName(QStringLiteral("Shape2"));
    rxLamp->setGeometry(t.rect(7905, 810, 210, 150));
    add(Control::Shape2, rxLamp);

    // Frame buttons: the window has no title bar of its own.
    auto *minimise = new QPushButton(QStringLiteral("_"), this);
    minimise->setObjectName(QStringLiteral("cmdMin"));
    minimise->setGeometry(t.rect(7080, 750, 300, 300));
    minimise->setFocusPolicy(Qt::NoFocus);
    connect(minimise, &QPushButton::clicked, this, [this] {
        setFocus(Control::List1);
        showMinimized();
    });
    m_cmdMin = minimise;
    auto *close = new QPushButton(QStringLiteral("X"), this);
    close->setObjectName(QStringLiteral("cmdClose"));
    close->setGeometry(t.rect(7440, 750, 300, 300));
    close->setFocusPolicy(Qt::NoFocus);
    connect(close, &QPushButton::clicked, this, [this] { m_endProcess(); });
    m_cmdClose = close;
    for (QPushButton *b : {minimise, close})
        b->setFont(arialBold(8));

    auto *checkStyle = new CompactCheckStyle(QApplication::style()->name());
    checkStyle->setParent(this); // made after the boxes, so that it goes after them
    for (QCheckBox *b : findChildren<QCheckBox *>())
        b->setStyle(checkStyle);

    // A press on a control stays with it: only the bare background moves the window.
    QList<QWidget *> pressable = m_controls.values();
    pressable << m_cmdMin << m_cmdClose;
    for (QWidget *w : pressable) {
        if (!qobject_cast<Lamp *>(w)) // a lamp is painted on the background
            w->setAttribute(Qt::WA_NoMousePropagation);
    }

    // Offline until the link is tried.
    for (Control c : {Control::cmdTest, Control::chkTest, Control::cmdRefresh, Control::Check1,
                      Control::Check2})
        m_controls.value(c)->setEnabled(false);

    setTabOrder(outputs, entry);
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

bool MainWindow::isEnabled(Control c) const
{
    const QWidget *w = control(c);
    return w && w->isEnabled();
}

void MainWindow::setVisible(Control c, bool visible)
{
    QWidget *w = control(c);
    if (!w)
        return;
    w->setVisible(visible);
    if (c == Control::lblDownloading && visible != m_downloading) {
        // A load or read-back is starting: it blocks the thread, so the whole window is painted
        // now, over anything a closed dialog left on it.
        m_downloading = visible;
        if (visible) {
            // Every control too: a window repaint alone leaves opaque ones to the backing store.
            for (QWidget *child : findChildren<QWidget *>())
                child->update();
            repaint();
        }
    }
    paintIfBlocked(w);
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

bool MainWindow::isVisible(Control c) const
{
    const QWidget *w = control(c);
    return w && !w->isHidden();
}

void MainWindow::setBackColour(Control c, Colour colour)
{
    QWidget *w = control(c);
    if (auto *lamp = qobject_cast<Lamp *>(w))
        lamp->setColour(toQColor(colour));
    else if (w)
        setPaletteColour(w, QPalette::Button, toQColor(colour));
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

QString MainWindow::rowText(Control c, int row) const
{
    const TallyList *l = list(c);
    return l ? l->rows()->rowText(row) : QString();
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
    if (TallyList *l = list(c))
        l->setCurrentRow(row);
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
    p.fillRect(rect(), QColor(82, 82, 169));
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
