// frmMain: the record grid (filling, selection, sorting) and the list of
// records under automatic refresh taken back from it.
#include "frmMain.h"

#include "AutoIpMatcher.h"
#include "DomainUserModel.h"
#include "Keyboard.h"
#include "RecordList.h"
#include "RefreshRules.h"
#include "RuntimeError.h"
#include "TextRules.h"
#include "Twips.h"
#include "basErr.h"
#include "clsUser.h"

#include <QAbstractTableModel>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QStringView>
#include <QStyledItemDelegate>
#include <QToolTip>
#include <QTreeView>
#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

using Fields = RecordList::FieldViews;

// Whether two texts are the same without regard to case. The lists compared
// are, as a rule, the very string they were last time (the session keeps
// its string while the service sends the same list): that is answered
// without reading them, and an exact copy before comparing case by case.
bool sameIgnoringCase(const QString &a, const QString &b)
{
    if (a.size() == b.size() && a.constData() == b.constData())
        return true;
    return a == b || a.compare(b, Qt::CaseInsensitive) == 0;
}

} // namespace

namespace {

// Rules the grid's cells like a report view with grid lines.
class GridLineDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        painter->save();
        painter->setPen(option.palette.color(QPalette::Midlight));
        const QRect r = option.rect;
        painter->drawLine(r.topRight(), r.bottomRight());
        painter->drawLine(r.bottomLeft(), r.bottomRight());
        painter->restore();
    }

    // A cell cut short (a long host name, a relay's URL) shows its whole
    // text as a tool tip; one shown whole has none.
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override
    {
        if (event->type() != QEvent::ToolTip || !index.isValid())
            return QStyledItemDelegate::helpEvent(event, view, option, index);
        QStyleOptionViewItem item = option;
        initStyleOption(&item, index);
        const QStyle *style = view->style();
        // The room the style draws the text in: its rectangle less a margin
        // on both sides.
        const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, view) + 1;
        const int room =
            style->subElementRect(QStyle::SE_ItemViewItemText, &item, view).width() - 2 * margin;
        if (item.fontMetrics.horizontalAdvance(item.text) <= room) {
            QToolTip::hideText();
            return true;
        }
        QToolTip::showText(event->globalPos(), item.text, view->viewport(), option.rect);
        return true;
    }
};

} // namespace

void frmMain::CreateGrid(QWidget *parent)
{
    lvDomainUser = new QTreeView(parent);
    lvDomainUser->setObjectName(QStringLiteral("lvDomainUser"));
    m_grid = new DomainUserModel(lvDomainUser);
    lvDomainUser->setModel(m_grid);
    lvDomainUser->setItemDelegate(new GridLineDelegate(lvDomainUser));

    connect(lvDomainUser, &QTreeView::clicked, this, &frmMain::lvDomainUser_Click);
    connect(lvDomainUser->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (!m_filling)
            lvDomainUser_Click();
    });
    connect(lvDomainUser, &QTreeView::doubleClicked, this, &frmMain::lvDomainUser_DblClick);
    lvDomainUser->installEventFilter(this);
    connect(lvDomainUser->header(), &QHeaderView::sectionClicked, this,
            &frmMain::lvDomainUser_ColumnClick);
}

void frmMain::PrepareGrid()
{
    // Report view: one line per record, no editing in place, the whole row
    // selected, the cells ruled.
    lvDomainUser->setRootIsDecorated(false);
    lvDomainUser->setItemsExpandable(false);
    lvDomainUser->setUniformRowHeights(true);
    lvDomainUser->setEditTriggers(QAbstractItemView::NoEditTriggers);
    lvDomainUser->setSelectionMode(QAbstractItemView::SingleSelection);
    lvDomainUser->setSelectionBehavior(QAbstractItemView::SelectRows);
    lvDomainUser->setAllColumnsShowFocus(true);
    lvDomainUser->setProperty("FullRowSelect", true);
    lvDomainUser->setProperty("GridLines", true);
    // Header clicks are the window's to handle (the order flips on every
    // click); the view never sorts on its own.
    lvDomainUser->setSortingEnabled(false);
    QHeaderView *header = lvDomainUser->header();
    header->setSectionsClickable(true);
    header->setStretchLastSection(false);
    m_grid->setHeaders({QStringLiteral("Domain"), QStringLiteral("Type"), QStringLiteral("Name"),
                        QStringLiteral("Server Address"), QStringLiteral("AutoIP")});
    const int widths[] = {2200, 1000, 1800, 2200, 800};
    for (int i = 0; i < 5; ++i)
        header->resizeSection(i, Twips::ToPixels(widths[i]));
    SetSort(m_sortKey, m_sortDescending, m_sorted);
}

int frmMain::GridRowCount() const
{
    return m_grid->rowCount();
}

QString frmMain::GridText(int row, int column) const
{
    return m_grid->cell(row, column).toString();
}

int frmMain::SelectedRow() const
{
    if (m_grid->rowCount() == 0)
        return -1;
    const QModelIndex current = lvDomainUser->currentIndex();
    if (!current.isValid() || !lvDomainUser->selectionModel()->isRowSelected(current.row(), {}))
        return -1;
    return current.row();
}

void frmMain::FillDomainUserGrid()
{
    Trap(QStringLiteral("frmMain.FillDomainUserGrid()"), [&] {
        const QString records = User().sDomainUserRecords;
        const QString autoList = ProgramWide::sAutoIPList;
        if (sameIgnoringCase(records, sLastRecords) &&
            sameIgnoringCase(autoList, sLastAutoIPList)) {
            Label20->setText(QStringLiteral("Last IP Check:"));
            return;
        }
        // Changes after the first fill of the session are counted.
        if (!sLastRecords.isEmpty())
            lblTimesIPChanged->setText(TextRules::Increment(lblTimesIPChanged->text()));
        sLastRecords = records;
        sLastAutoIPList = autoList;
        Label20->setText(QStringLiteral("*Last IP Check:"));

        m_filling = true;
        m_grid->clearRows();
        m_filling = false;
        // As many rows as the list has pieces, at most: room for all of
        // them is made once.
        std::vector<DomainUserModel::Row> rows;
        if (!records.isEmpty())
            rows.reserve(static_cast<size_t>(records.count(RecordList::RecordSeparator)) + 1);
        int selected = -1;

        // The rows go into the grid in one step; a piece that cannot be
        // shown ends the fill, and the rows before it stay.
        auto show = [&] {
            const std::vector<bool> marks =
                RefreshRules::AutoIpMatcher(autoList.toUpper()).match(rows.size(), [&](size_t i) {
                    return rows[i].in(records);
                });
            for (size_t i = 0; i < rows.size(); ++i)
                rows[i].autoIP = marks[i];
            m_filling = true;
            std::optional<std::pair<int, Qt::SortOrder>> sort;
            if (m_sorted)
                sort.emplace(m_sortKey,
                             m_sortDescending ? Qt::DescendingOrder : Qt::AscendingOrder);
            m_grid->setRows(records, std::move(rows), sort);
            if (selected >= 0)
                lvDomainUser->setCurrentIndex(m_grid->index(m_grid->rowOfPosition(selected), 0));
            m_filling = false;
        };
        int oversized = 0;
        try {
            RecordList::ForEach(
                records, [&](int position, QStringView piece, const Fields &fields) {
                    if (!RecordList::WithinLimits(fields[0], fields[1], fields[2], fields[3])) {
                        ++oversized;
                        return;
                    }
                    rows.push_back(DomainUserModel::Row::Of(records, fields, position));
                    if (piece.compare(sSelectedRecord, Qt::CaseInsensitive) == 0)
                        selected = position;
                });
        } catch (...) {
            show();
            throw;
        }
        show();
        if (oversized > 0)
            basErr::LogOnly(QStringLiteral("frmMain.FillDomainUserGrid()"),
                            RuntimeError(ErrorNumber::InvalidArgument,
                                         QStringLiteral("%1 record(s) with a field longer than a "
                                                        "record can hold were left out.")
                                             .arg(oversized)));
        const QModelIndex current = lvDomainUser->currentIndex();
        if (selected < 0 && current.isValid()) {
            m_filling = true;
            lvDomainUser->selectionModel()->select(current, QItemSelectionModel::Deselect |
                                                                QItemSelectionModel::Rows);
            m_filling = false;
        }
    });
}

void frmMain::lvDomainUser_Click()
{
    Trap(QStringLiteral("frmMain.lvDomainUser_Click()"), [&] {
        const int row = SelectedRow();
        if (row < 0)
            return;
        const QString fieldEnd = QStringLiteral(";;");
        sSelectedRecord = GridText(row, 0) + fieldEnd + GridText(row, 1) + fieldEnd +
                          GridText(row, 2) + fieldEnd + GridText(row, 3);
    });
}

void frmMain::lvDomainUser_DblClick()
{
    EditGrid();
}

bool frmMain::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == lvDomainUser && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (Keyboard::IsEnter(key)) {
            EditGrid();
            return true;
        }
        if (key->key() == Qt::Key_Delete && key->modifiers() == Qt::NoModifier) {
            cmdDeleteGrid_Click();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}

void frmMain::lvDomainUser_ColumnClick(int column)
{
    Trap(QStringLiteral("frmMain.lvDomainUser_ColumnClick()"), [&] {
        // The order flips on every click, also when another column is
        // clicked than before.
        SetSort(column, !m_sortDescending, true);
        m_grid->sort(m_sortKey, m_sortDescending ? Qt::DescendingOrder : Qt::AscendingOrder);
    });
}

void frmMain::SetSort(int key, bool descending, bool sorted)
{
    m_sortKey = key;
    m_sortDescending = descending;
    m_sorted = sorted;
    QHeaderView *header = lvDomainUser->header();
    header->setSortIndicatorShown(sorted);
    header->setSortIndicator(key, descending ? Qt::DescendingOrder : Qt::AscendingOrder);
}
