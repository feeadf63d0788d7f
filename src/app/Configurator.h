#pragma once

#include "matrix/MatrixLists.h"
#include "model/SystemModel.h"

#include <QObject>
#include <QString>

class MainWindow;

// The configurator's logic put together on one window: owns the logic parts, connects the
// window's notifications to them, and runs the load sequence.
class Configurator : public QObject
{
    Q_OBJECT
public:
    Configurator(SystemModel &model, MainWindow &window);

    // Reads the description from `programDir`, fills and shows the window. False when the
    // program has to end (no usable Kestrel.ini; the operator has been told).
    bool Form_Load(const QString &programDir);

    // The desktop closes the main window: the secondary windows go with it.
    void Form_Unload();

    MatrixLists &lists() { return m_lists; }

private:
    void wire();

    SystemModel &m_model;
    MainWindow &m_window;
    MatrixLists m_lists;
};
