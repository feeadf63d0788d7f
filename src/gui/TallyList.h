#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QTableView>

#include <functional>

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
    void setTextColour(const QColor &colour) { m_textColour = colour; }

private:
    struct Row
    {
        QString text;
        QStringList pieces;
        QColor background;
    };
    QList<Row> m_rows;
    int m_columns = 1;
    QColor m_textColour;
};

// The list control of the main window: the table view over TallyListModel, with the
// notifications the window reacts to. The key-down handler returns true to swallow a key.
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

    std::function<void()> onClick;
    std::function<void()> onDoubleClick;
    std::function<bool(QKeyEvent *)> onKeyDown;
    std::function<void(QKeyEvent *)> onKeyUp;
    std::function<void()> onMouseRelease;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void applyColumnWidths();

    TallyListModel *m_model = nullptr;
    QList<int> m_weights;
    QColor m_background;
};
