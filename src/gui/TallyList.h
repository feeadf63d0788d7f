// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QTableView>

// Rows of TAB-separated text shown as columns; each row keeps its whole text and a background
// colour of its own.
class TallyListModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    explicit TallyListModel(int columns, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;

    void clear();
    void addRow(const QString &text, const QColor &background);
    QString rowText(int row) const;
    void setRowText(int row, const QString &text);
    void setRowColour(int row, const QColor &colour);
    QColor rowColour(int row) const;

private:
    struct Row
    {
        QString text;
        QStringList pieces;
        QColor background;
    };
    QList<Row> m_rows;
    int m_columns = 1;
};

// The list control of the main window: the table view over TallyListModel, telling the
// operator's clicks, keys and row changes by signals. A row, once selected, stays highlighted:
// the lists always have a selected row, and a press in the empty part below the rows changes
// nothing.
class TallyList : public QTableView
{
    Q_OBJECT
public:
    TallyList(int columns, const QColor &text, const QColor &background, QWidget *parent = nullptr);

    TallyListModel *rows() const { return m_model; }
    void setColumnWeights(const QList<int> &weights);
    int currentRow() const;
    void setCurrentRow(int row);
    QColor background() const { return m_background; }

signals:
    // A row clicked with the left button (also on the row already current).
    void rowClicked();
    void rowDoubleClicked();
    // A key went down; a receiver that sets *handled swallows it.
    void keyDown(QKeyEvent *event, bool *handled);
    void keyUp(QKeyEvent *event);
    void mouseReleased();
    // The current row moved, by the operator or by the program.
    void currentRowChanged(int row);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index,
                                                         const QEvent *event) const override;

private:
    void applyColumnWidths();
    bool onRow(const QMouseEvent *event) const;

    TallyListModel *m_model = nullptr;
    QList<int> m_weights;
    QColor m_background;
};
