// SPDX-FileCopyrightText: 2026 Kestrel configurator maintainers
// SPDX-License-Identifier: MIT

#include "gui/TallyList.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>

#include <algorithm>

TallyListModel::TallyListModel(int columns, QObject *parent)
    : QAbstractTableModel(parent), m_columns(columns)
{
}

int TallyListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int TallyListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_columns;
}

QVariant TallyListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const Row &row = m_rows[index.row()];
    switch (role) {
    case Qt::DisplayRole:
        return row.pieces.value(index.column());
    case Qt::BackgroundRole:
        return row.background;
    case Qt::ToolTipRole:
        return index.column() == 0 ? QVariant(row.pieces.value(0)) : QVariant();
    default:
        return {};
    }
}

void TallyListModel::clear()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
}

void TallyListModel::addRow(const QString &text, const QColor &background)
{
    const int r = static_cast<int>(m_rows.size());
    beginInsertRows({}, r, r);
    m_rows.append({text, text.split(QLatin1Char('\t')), background});
    endInsertRows();
}

QString TallyListModel::rowText(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows[row].text : QString();
}

void TallyListModel::setRowText(int row, const QString &text)
{
    if (row < 0 || row >= m_rows.size() || m_rows[row].text == text)
        return;
    m_rows[row].text = text;
    m_rows[row].pieces = text.split(QLatin1Char('\t'));
    emit dataChanged(index(row, 0), index(row, m_columns - 1), {Qt::DisplayRole});
}

void TallyListModel::setRowColour(int row, const QColor &colour)
{
    if (row < 0 || row >= m_rows.size() || m_rows[row].background == colour)
        return;
    m_rows[row].background = colour;
    emit dataChanged(index(row, 0), index(row, m_columns - 1), {Qt::BackgroundRole});
}

QColor TallyListModel::rowColour(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows[row].background : QColor();
}

TallyList::TallyList(int columns, const QColor &text, const QColor &background, QWidget *parent)
    : QTableView(parent), m_model(new TallyListModel(columns, this)), m_background(background)
{
    setModel(m_model);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    horizontalHeader()->hide();
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 2);
    QPalette p = palette();
    p.setColor(QPalette::Base, background);
    // Disabled, the rows are drawn in the desktop's greyed text.
    p.setColor(QPalette::Active, QPalette::Text, text);
    p.setColor(QPalette::Inactive, QPalette::Text, text);
    // The selected row keeps a clear bar whether or not the list has the focus.
    p.setColor(QPalette::Inactive, QPalette::Highlight,
               p.color(QPalette::Active, QPalette::Highlight));
    p.setColor(QPalette::Inactive, QPalette::HighlightedText,
               p.color(QPalette::Active, QPalette::HighlightedText));
    setPalette(p);
    connect(this, &QAbstractItemView::clicked, this, &TallyList::rowClicked);
    connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &current) { emit currentRowChanged(current.row()); });
}

void TallyList::setColumnWeights(const QList<int> &weights)
{
    m_weights = weights;
    applyColumnWidths();
}

void TallyList::applyColumnWidths()
{
    int total = 0;
    for (int w : m_weights)
        total += w;
    const int columns = std::min<int>(m_weights.size(), m_model->columnCount());
    if (total <= 0 || columns == 0)
        return;
    // The widest column holds names; the others hold input numbers up to 999, which must
    // never be cut to "...", so they get at least that width and the name column the rest.
    const int nameColumn =
        int(std::max_element(m_weights.begin(), m_weights.begin() + columns) - m_weights.begin());
    const int numberWidth = fontMetrics().horizontalAdvance(QStringLiteral(" 999")) + 8;
    const int width = viewport()->width();
    int used = 0;
    for (int c = 0; c < columns; ++c) {
        if (c == nameColumn)
            continue;
        const int w = std::max(width * m_weights[c] / total, numberWidth);
        setColumnWidth(c, w);
        used += w;
    }
    setColumnWidth(nameColumn, std::max(width - used, 0));
}

void TallyList::resizeEvent(QResizeEvent *event)
{
    QTableView::resizeEvent(event);
    applyColumnWidths();
}

int TallyList::currentRow() const
{
    const QModelIndex i = currentIndex();
    return i.isValid() ? i.row() : -1;
}

void TallyList::setCurrentRow(int row)
{
    if (row < 0 || row >= m_model->rowCount())
        return;
    const QModelIndex i = m_model->index(row, 0);
    selectionModel()->setCurrentIndex(i, QItemSelectionModel::ClearAndSelect |
                                             QItemSelectionModel::Rows);
    scrollTo(i);
}

void TallyList::keyPressEvent(QKeyEvent *event)
{
    bool handled = false;
    emit keyDown(event, &handled);
    if (handled) {
        event->accept();
        return;
    }
    // A table moves between columns on Home and End; in a list they mean first and last row.
    if (event->key() == Qt::Key_Home || event->key() == Qt::Key_End) {
        setCurrentRow(event->key() == Qt::Key_Home ? 0 : m_model->rowCount() - 1);
        event->accept();
        return;
    }
    QTableView::keyPressEvent(event);
}

void TallyList::keyReleaseEvent(QKeyEvent *event)
{
    QTableView::keyReleaseEvent(event);
    emit keyUp(event);
}

bool TallyList::onRow(const QMouseEvent *event) const
{
    return indexAt(event->position().toPoint()).isValid();
}

void TallyList::mousePressEvent(QMouseEvent *event)
{
    // The view would take the highlight off and keep the current row: the keys and buttons
    // would then act on a row the operator cannot see.
    if (onRow(event))
        QTableView::mousePressEvent(event);
    else
        event->accept();
}

void TallyList::mouseMoveEvent(QMouseEvent *event)
{
    // A drag goes on over the rows only, as a press does.
    if (onRow(event))
        QTableView::mouseMoveEvent(event);
    else
        event->accept();
}

void TallyList::mouseReleaseEvent(QMouseEvent *event)
{
    QTableView::mouseReleaseEvent(event);
    emit mouseReleased();
}

void TallyList::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (!onRow(event)) {
        event->accept();
        return;
    }
    QTableView::mouseDoubleClickEvent(event);
    emit rowDoubleClicked();
}

QItemSelectionModel::SelectionFlags TallyList::selectionCommand(const QModelIndex &index,
                                                                const QEvent *event) const
{
    // Ctrl+click would take the highlight off the selected row; it selects it instead.
    QItemSelectionModel::SelectionFlags command = QTableView::selectionCommand(index, event);
    if (command & (QItemSelectionModel::Deselect | QItemSelectionModel::Toggle))
        command = QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows;
    return command;
}
