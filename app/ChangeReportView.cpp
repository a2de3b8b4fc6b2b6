#include "app/ChangeReportView.h"

#include "app/Text.h"
#include "base/AtomicFile.h"
#include "platform/Platform.h"
#include "platform/qt/WindowRefs.h"
#include "report/ChangeCSV.h"
#include "services/QVAlert.h"

#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>

namespace reelsweep {

namespace {

// Typing is not held up by a filter over a long list.
constexpr std::chrono::milliseconds filterPause{150};
// Up to this many changes are laid open at once.
constexpr std::size_t shortList = 500;

QTreeView* makeTree(ChangeReportModel& model) {
    auto* const tree = new QTreeView;
    tree->setObjectName(QStringLiteral("changesTree"));
    tree->setAccessibleName(ChangeReportView::tr("Changes"));
    tree->setUniformRowHeights(true);
    tree->setAlternatingRowColors(true);
    tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    tree->setModel(&model);
    tree->header()->setSortIndicator(-1, Qt::AscendingOrder);
    tree->header()->setSortIndicatorClearable(true);
    tree->setSortingEnabled(true);
    const int width = tree->fontMetrics().averageCharWidth();
    const int widths[] = {30, 24, 52, 33, 33};
    for (int column = 0; column < ChangeReportModel::columns; ++column)
        tree->setColumnWidth(column, width * widths[column]);
    return tree;
}

}  // namespace

ChangeReportView::ChangeReportView(QWidget* parent)
    : QWidget(parent),
      filter_(new QLineEdit),
      tree_(makeTree(model_)),
      order_(new QComboBox),
      totals_(new QLabel),
      export_(new QPushButton(tr("Export &Report…"))) {
    filter_->setObjectName(QStringLiteral("changesFilter"));
    filter_->setAccessibleName(tr("Filter changes"));
    filter_->setPlaceholderText(tr("Filter by name, track, kind or reason"));
    filter_->setClearButtonEnabled(true);
    filter_->installEventFilter(this);
    totals_->setObjectName(QStringLiteral("changesTotals"));
    totals_->setWordWrap(true);
    totals_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    order_->setObjectName(QStringLiteral("changesOrder"));
    order_->setAccessibleName(tr("Order of the changes"));
    order_->addItem(tr("By clip"), static_cast<int>(ChangeReportModel::Order::byClip));
    order_->addItem(tr("By pass"), static_cast<int>(ChangeReportModel::Order::byPass));
    auto* const orderLabel = new QLabel(tr("&View:"));
    orderLabel->setBuddy(order_);
    export_->setObjectName(QStringLiteral("exportReportBtn"));

    auto* const top = new QHBoxLayout;
    top->addWidget(filter_, 1);
    top->addWidget(orderLabel);
    top->addWidget(order_);
    top->addWidget(export_);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addLayout(top);
    layout->addWidget(tree_, 1);
    layout->addWidget(totals_);

    filterDelay_.setSingleShot(true);
    filterDelay_.setInterval(filterPause);
    connect(filter_, &QLineEdit::textChanged, this, [this] { filterDelay_.start(); });
    connect(&filterDelay_, &QTimer::timeout, this, &ChangeReportView::applyFilter);
    connect(order_, &QComboBox::currentIndexChanged, this, [this] {
        model_.setOrder(static_cast<ChangeReportModel::Order>(order_->currentData().toInt()));
    });
    connect(&model_, &QAbstractItemModel::modelReset, this, [this] {
        expandWhatIsShort();
        emit selectionChanged();
    });
    connect(export_, &QPushButton::clicked, this, &ChangeReportView::exportReport);
    connect(tree_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ChangeReportView::selectionChanged);
    connect(tree_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &ChangeReportView::subjectChanged);
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(tree_, &QTreeView::customContextMenuRequested, this, [this](QPoint point) {
        if (tree_->currentIndex().isValid())
            emit menuRequested(tree_->viewport()->mapToGlobal(point));
    });
    showTotals();
}

void ChangeReportView::showLedger(const ChangeLedger* ledger, ReportedDocument document) {
    filterDelay_.stop();
    filter_->clear();
    filterDelay_.stop();
    ledger_ = ledger;
    document_ = std::move(document);
    model_.setLedger(ledger);
    export_->setEnabled(ledger != nullptr);
    showTotals();
}

bool ChangeReportView::eventFilter(QObject* watched, QEvent* event) {
    const bool isKey =
        event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
    if (watched != filter_ || !isKey) return QWidget::eventFilter(watched, event);
    const auto* const key = static_cast<QKeyEvent*>(event);
    if (event->type() == QEvent::ShortcutOverride && key->key() == Qt::Key_E) {
        // A text field takes Ctrl+E for the end of the line; here it saves.
        event->ignore();
        return key->modifiers() & Qt::ControlModifier;
    }
    if (event->type() == QEvent::KeyPress && key->key() == Qt::Key_Escape) {
        filter_->clear();
        tree_->setFocus(Qt::ShortcutFocusReason);
        return true;
    }
    return false;
}

void ChangeReportView::focusFilter() {
    filter_->setFocus(Qt::ShortcutFocusReason);
    filter_->selectAll();
}

void ChangeReportView::applyFilter() {
    model_.setFilter(filter_->text());
    showTotals();
}

void ChangeReportView::expandWhatIsShort() {
    if (model_.listing().shown() <= shortList)
        tree_->expandAll();
    else
        tree_->expandToDepth(0);
    for (int row = 0; row < model_.rowCount(); ++row)
        if (const QModelIndex index = model_.index(row, 0); model_.startsFolded(index))
            tree_->collapse(index);
}

void ChangeReportView::showTotals() {
    const ChangeListing& listing = model_.listing();
    if (listing.total() == 0) {
        totals_->setText(ledger_ ? tr("Nothing had to be changed.") : QString());
        return;
    }
    QStringList parts;
    for (std::size_t kind = 0; kind < changeKindCount; ++kind)
        if (const std::size_t count = listing.totals()[kind]) {
            const std::string word(description(static_cast<ChangeKind>(kind)));
            parts += tr("%L1 %2", "a number of changes of a kind")
                         .arg(count)
                         .arg(QCoreApplication::translate("ChangeKind", word.c_str()));
        }
    const QString counted =
        listing.shown() == listing.total()
            ? changeCount(listing.total())
            : tr("%L1 of %2").arg(listing.shown()).arg(changeCount(listing.total()));
    totals_->setText(parts.isEmpty() ? counted : counted + ": " + parts.join(", "));
}

ChangeReportModel::Subject ChangeReportView::subject() const {
    return model_.subjectOf(tree_->currentIndex());
}

void ChangeReportView::selectChanges(std::size_t sequence, std::span<const std::uint32_t> changes) {
    const QModelIndex row = model_.rowOf(sequence, changes);
    if (!row.isValid()) return;
    const QSignalBlocker quiet(this);
    tree_->setCurrentIndex(row);
    tree_->scrollTo(row);
}

bool ChangeReportView::hasSelection() const { return tree_->selectionModel()->hasSelection(); }

void ChangeReportView::copySelection() {
    QModelIndexList rows = tree_->selectionModel()->selectedRows();
    // In the order of the screen, not of the clicks.
    const auto place = [](QModelIndex index) {
        std::vector<int> path;
        for (; index.isValid(); index = index.parent()) path.insert(path.begin(), index.row());
        return path;
    };
    std::sort(rows.begin(), rows.end(),
              [&](const QModelIndex& a, const QModelIndex& b) { return place(a) < place(b); });
    QStringList lines;
    for (const QModelIndex& row : rows) lines += model_.rowText(row);
    if (!lines.isEmpty()) QGuiApplication::clipboard()->setText(lines.join('\n') + '\n');
}

void ChangeReportView::exportReport() {
    if (!ledger_) return;
    auto* const dialog = new QFileDialog(this, tr("Export Report"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    const QString csv = tr("Comma-separated values (*.csv)");
    const QString json = tr("JSON (*.json)");
    dialog->setNameFilters({csv, json});
    dialog->setDefaultSuffix(QStringLiteral("csv"));
    connect(dialog, &QFileDialog::filterSelected, dialog, [dialog, json](const QString& chosen) {
        dialog->setDefaultSuffix(chosen == json ? QStringLiteral("json") : QStringLiteral("csv"));
    });
    const QFileInfo input(toQString(document_.input));
    dialog->setDirectory(input.absolutePath());
    dialog->selectFile(input.completeBaseName() + tr("-changes"));
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& path) {
        const Outcome written = writeReport(toText(path));
        if (!written)
            QVAlert::alertSheet(toText(tr("The report could not be written")), {}, {}, {},
                                written.failure().description(), windowRef(window()), false);
    });
    dialog->open();
}

Outcome ChangeReportView::writeReport(const std::string& path) const {
    if (!ledger_) return Failure{FailureCode::usage, "there is no report", path, 0, 0, ""};
    AtomicFile file(path, Overwrite::always);
    if (Outcome opened = file.open(); !opened) return opened;
    if (QFileInfo(toQString(path)).suffix().compare("json", Qt::CaseInsensitive) == 0) {
        const std::string version =
            Platform::current().bundle->infoValue("CFBundleShortVersionString").value_or("");
        ChangeReport report(file, {"reelsweep", version, false});
        report.addDocument(document_, ledger_);
        report.finish();
    } else {
        writeChangesCSV(*ledger_, file);
    }
    return file.commit();
}

}  // namespace reelsweep
