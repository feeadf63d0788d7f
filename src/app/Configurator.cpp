#include "app/Configurator.h"

#include "config/SystemDescription.h"
#include "ui/MainWindow.h"
#include "ui/Twips.h"
#include "ui/WindowOutline.h"

#include <QAbstractButton>

Configurator::Configurator(SystemModel &model, MainWindow &window)
    : m_model(model), m_window(window), m_lists(model, window)
{
    wire();
}

void Configurator::wire()
{
    connect(m_window.button(Control::Check3), &QAbstractButton::clicked, this,
            [this] { m_lists.Check3_Click(); });
    connect(&m_window, &MainWindow::unloading, this, [this] { Form_Unload(); });
}

bool Configurator::Form_Load(const QString &programDir)
{
    m_window.applyOutline(WindowOutline::BuildWindowRegion(
        1.0f, 1.0f, 0, 0, Twips::forWidget(&m_window).pixelsPerDesignUnit()));

    m_model.MainCPUVersion.clear();
    m_window.setText(Control::lblError, QString());
    m_model.DownloadActive = false;
    m_model.MapStrings = 0;
    m_window.setText(Control::lblFileName, QString());

    SystemDescription description(programDir);
    if (!description.IniRead(m_model)) {
        m_window.messageBox(
            QStringLiteral("Cannot locate Kestrel.ini file in program directory\r\n"
                           "Please aquire a Kestrel.ini file for this tally system and copy it "
                           "into the program directory"),
            QStringLiteral("File Missing"), MessageButtons::OkCancel, MessageIcon::None,
            MessageResult::Ok);
        return false;
    }
    if (!description.limitWarning().isEmpty()) {
        m_window.messageBox(description.limitWarning(), QStringLiteral("Kestrel.ini"),
                            MessageButtons::Ok, MessageIcon::Warning, MessageResult::Ok);
    }
    m_lists.FillLists();

    for (Control list : {Control::List1, Control::list2, Control::list3})
        m_window.setCurrentRow(list, 0);
    m_window.setHeightTwips(Control::list2, MatrixLists::List2TallTwips);

    m_window.show();

    m_window.setFocus(Control::List1);
    return true;
}

void Configurator::Form_Unload()
{
    m_window.showWindow(Window::frmVerbose, false);
    m_window.showWindow(Window::frmUnitBits, false);
}
