#include "document/frmData.h"

#include "document/ChartLimitLines.h"
#include "document/ChartView.h"
#include "document/DataDocument.h"
#include "document/DocumentTableModel.h"
#include "document/RowsText.h"
#include "document/JudgementMarks.h"
#include "document/StatusPanel.h"
#include "document/WidestTexts.h"
#include "document/frmExport.h"
#include "resources/ProgramState.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/Twips.h"

#include <QAbstractButton>
#include <QAction>
#include <QClipboard>
#include <QCloseEvent>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMdiSubWindow>
#include <QPainter>
#include <QProgressBar>
#include <QScreen>
#include <QScrollBar>
#include <QStyleOptionHeader>
#include <QTableView>

namespace quvo {

namespace {

// Answers every question with Cancel: a window without a prompter keeps unsaved data.
class RefusingPrompter : public Prompter {
public:
    PromptAnswer message(const QString&, PromptButtons, PromptIcon, PromptAnswer) override
    {
        return PromptAnswer::Cancel;
    }
    QString chooseFile(const FileDialogRequest&) override { return {}; }
};

// The row labels: as wide as the widest label a document can have ("32767"). Qt's own
// header measures a sample of its labels whenever rows are added or relabelled, which would
// be most of the cost of a new realtime row.
class RowLabels : public QHeaderView {
public:
    explicit RowLabels(QWidget* parent) : QHeaderView(Qt::Vertical, parent) {}
    QSize sizeHint() const override
    {
        const QFontMetrics fm(font());
        return {fm.horizontalAdvance(QStringLiteral("32767")) + fm.horizontalAdvance(QStringLiteral("MM")),
                fm.height() + 4};
    }
};

// The grid, with its scroll range brought up to date on request (a new row is laid out by
// the view only later, from the event loop).
class DataGrid : public QTableView {
public:
    using QTableView::QTableView;
    using QTableView::updateGeometries;
};

int stateCode(Qt::WindowStates state)
{
    if (state & Qt::WindowMinimized)
        return 1;
    if (state & Qt::WindowMaximized)
        return 2;
    return 0;
}

// The texts a value panel is made wide enough for: each panel of fixed width shows its
// widest text whole; the MAX, MIN and AVG panels take the room left in their bar, and the
// window's default width leaves them room for the widest texts the statistics write.
QStringList panelSamples(const QString& key)
{
    if (key == QLatin1String("Label"))
        return {ResID(Res::RealtimeData), ResID(Res::LoggingModeData), ResID(Res::SaveModeData)};
    if (key == QLatin1String("Interval") || key == QLatin1String("Period"))
        return {QStringLiteral("00d +00h +00m +00s")};
    if (key == QLatin1String("X") || key == QLatin1String("Y"))
        return {ResID(Res::Automatic)};
    if (key == QLatin1String("Max") || key == QLatin1String("Min"))
        return widestExtremeTexts();
    if (key == QLatin1String("Avg"))
        return widestAverageTexts();
    if (key == QLatin1String("Judge"))
        return {judgementCountsText({MaxReadings, MaxReadings, MaxReadings})};
    return {};
}

bool stretches(const QString& key)
{
    return key == QLatin1String("Max") || key == QLatin1String("Min") || key == QLatin1String("Avg");
}

} // namespace

frmData::frmData(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("frmData"));
    m_document = new DataDocument(this);
    m_document->setBusyHook([](bool busy) {
        if (busy)
            QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        else
            QGuiApplication::restoreOverrideCursor();
    });
    build();
    m_document->setNormalSize(static_cast<float>(defaultWidthTwips()), static_cast<float>(DefaultDocumentHeight));

    connect(m_document, &DataDocument::gridReset, this, &frmData::onGridReset);
    connect(m_document, &DataDocument::realtimeRowAdded, this, &frmData::onRealtimeRowAdded);
    connect(m_document, &DataDocument::scrollChanged, this, &frmData::onScrollChanged);
    connect(m_document, &DataDocument::progressChanged, this, &frmData::onProgressChanged);
    connect(m_document, &DataDocument::panelTextChanged, this, &frmData::onPanelTextChanged);
    connect(m_document, &DataDocument::captionChanged, this, [this](const QString& caption) { setWindowTitle(caption); });
    connect(m_document, &DataDocument::windowSizeChanged, this, &frmData::applyDocumentSize);
    connect(m_document, &DataDocument::commandStateRequested, this, [this] { SetDocumentButtons(true); });
    connect(m_document, &DataDocument::axisChanged, this, [this] {
        m_scroll->setPageStep(std::max(1, m_document->graphCount()));
    });
    connect(m_document, &DataDocument::judgementChanged, this, &frmData::showJudgePanel);

    onScrollChanged();
    onProgressChanged();
    for (const QString& key : DataDocument::panelKeys())
        onPanelTextChanged(key, m_document->panelText(key));
    showJudgePanel();
    watchFrame();
}

frmData::~frmData()
{
    // The program-wide references must not outlive the document.
    ProgramState& state = programState();
    if (state.RealtimeDoc == m_document)
        state.RealtimeDoc = nullptr;
    if (state.CurrentDoc == m_document)
        state.CurrentDoc = nullptr;
}

void frmData::build()
{
    // Status bars, top to bottom; each value panel is found by its key, its fixed caption
    // (text and one blank) stands before it.
    const QFontMetrics fm(font());
    const int pad = fm.horizontalAdvance(QStringLiteral("MM"));
    const std::initializer_list<const char*> bars[3] = {
        {"Label", "Max", "Judge"},
        {"Interval", "Min"},
        {"Period", "Avg", "X", "Y"},
    };
    for (int i = 0; i < 3; ++i) {
        auto* bar = new QWidget(this);
        bar->setObjectName(QStringLiteral("stBar%1").arg(i + 1));
        auto* layout = new QHBoxLayout(bar);
        layout->setContentsMargins(2, 1, 2, 1);
        layout->setSpacing(2);
        for (const char* name : bars[i]) {
            const QString key = QString::fromLatin1(name);
            const QString caption = DataDocument::panelCaption(key);
            if (!caption.isEmpty()) {
                auto* label = new QLabel(caption, bar);
                label->setObjectName(key + QStringLiteral("Caption"));
                label->setTextFormat(Qt::PlainText);
                layout->addWidget(label);
            }
            auto* panel = new StatusPanel(bar);
            panel->setObjectName(key);
            if (key == QLatin1String("Judge")) {
                // Shown only with limits (showJudgePanel).
                panel->setHidden(true);
                if (QWidget* caption = bar->findChild<QLabel*>(key + QStringLiteral("Caption")))
                    caption->setHidden(true);
            }
            if (stretches(key)) {
                panel->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
                layout->addWidget(panel, 1);
            } else {
                layout->addWidget(panel);
            }
        }
        m_statusBars[i] = bar;
    }
    fitPanels();

    m_model = new DocumentTableModel(m_document, this);
    m_grid = new DataGrid(this);
    m_grid->setObjectName(QStringLiteral("fgData"));
    m_grid->setModel(m_model);
    // Any cells may be selected; Copy takes the whole rows they are in.
    m_grid->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_grid->setSelectionBehavior(QAbstractItemView::SelectItems);
    m_grid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_grid->setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    m_grid->setWordWrap(false);
    m_grid->setItemDelegate(new JudgementDelegate(m_grid));
    auto* rows = new RowLabels(m_grid);
    m_grid->setVerticalHeader(rows);
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setDefaultSectionSize(fm.height() + 4);
    rows->setMinimumWidth(fm.horizontalAdvance(QStringLiteral("32767")) + pad);
    rows->setDefaultAlignment(Qt::AlignRight | Qt::AlignVCenter);
    QHeaderView* columns = m_grid->horizontalHeader();
    columns->setSectionResizeMode(QHeaderView::Interactive);
    m_grid->setColumnWidth(0, fm.horizontalAdvance(QStringLiteral("00:00:00")) + pad);
    m_grid->setColumnWidth(1, fm.horizontalAdvance(QStringLiteral("-0.00000E-0")) + pad);
    m_grid->setColumnWidth(2, fm.horizontalAdvance(QStringLiteral("MODE")) + pad);
    // The corner above the row labels shows the heading of the label column ("No.").
    if (auto* corner = m_grid->findChild<QAbstractButton*>())
        corner->installEventFilter(this);

    // Ctrl+C and the grid's context menu copy the selected rows.
    m_copy = new QAction(ResID(Res::CopyRows), m_grid);
    m_copy->setObjectName(QStringLiteral("mnuGridCopy"));
    m_copy->setShortcut(QKeySequence::Copy);
    m_copy->setShortcutContext(Qt::WidgetShortcut);
    m_grid->addAction(m_copy);
    m_grid->setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(m_copy, &QAction::triggered, this, &frmData::copyRows);

    m_chart = new ChartView(this);
    m_chart->setDocument(m_document);
    connect(m_chart, &ChartView::exportRequested, this, &frmData::exportChart);
    new ChartLimitLines(m_chart, m_document);

    m_scroll = new QScrollBar(Qt::Horizontal, this);
    m_scroll->setObjectName(QStringLiteral("sbData"));
    m_scroll->setMinimum(0);
    m_scroll->setSingleStep(1);
    connect(m_scroll, &QScrollBar::valueChanged, this, &frmData::onUserScroll);

    m_progress = new QProgressBar(this);
    m_progress->setObjectName(QStringLiteral("pbData"));
    m_progress->setTextVisible(false);
    m_progress->setVisible(false);

    int statusHeight = 0;
    for (QWidget* bar : m_statusBars)
        statusHeight += bar->sizeHint().height();
    m_design.gridTop = pixelsToTwips(statusHeight, logicalDpiY()) + 60;
    m_design.chartTop = m_design.gridTop;
    m_design.gridWidth = pixelsToTwips(rows->minimumWidth() + m_grid->columnWidth(0) + m_grid->columnWidth(1)
                                           + m_grid->columnWidth(2) + m_grid->verticalScrollBar()->sizeHint().width()
                                           + 4,
                                       logicalDpiX());
    m_design.chartLeft = m_design.gridLeft + m_design.gridWidth + 60;
}

void frmData::fitPanels()
{
    int widestBar = 0;
    int narrowestBar = 0;
    for (QWidget* bar : m_statusBars) {
        auto* layout = static_cast<QHBoxLayout*>(bar->layout());
        const QMargins margins = layout->contentsMargins();
        int fixed = margins.left() + margins.right() + layout->spacing() * (layout->count() - 1);
        int stretching = 0;
        int leastStretching = 0;
        for (int i = 0; i < layout->count(); ++i) {
            QWidget* widget = layout->itemAt(i)->widget();
            if (widget->isHidden())
                continue; // the "Judge" panel without limits
            const QFontMetrics fm = widget->fontMetrics();
            const int spare = fm.horizontalAdvance(QStringLiteral("M"));
            if (auto* panel = qobject_cast<StatusPanel*>(widget)) {
                int need = 0;
                for (const QString& sample : panelSamples(panel->objectName()))
                    need = std::max(need, panel->widthFor(sample));
                if (stretches(panel->objectName())) {
                    // However narrow the window, a few characters and the "…" stay.
                    const int least = panel->widthFor(QStringLiteral("0000") + QChar(0x2026));
                    panel->setMinimumWidth(least);
                    leastStretching += least;
                    stretching = std::max(stretching, need);
                } else {
                    panel->setFixedWidth(need + spare);
                    fixed += need + spare;
                }
            } else if (auto* caption = qobject_cast<QLabel*>(widget)) {
                const int need = fm.horizontalAdvance(caption->text()) + spare / 2;
                caption->setFixedWidth(need);
                fixed += need;
            }
        }
        widestBar = std::max(widestBar, fixed + stretching);
        narrowestBar = std::max(narrowestBar, fixed + leastStretching);
    }
    m_panelsWidth = widestBar;
    setMinimumWidth(narrowestBar);
}

double frmData::defaultWidthTwips() const
{
    return std::max(static_cast<double>(DefaultDocumentWidth), pixelsToTwips(m_panelsWidth, logicalDpiX()));
}

QString frmData::Tag() const
{
    return m_document->Tag();
}

void frmData::setPrompter(Prompter* prompter)
{
    m_prompter = prompter;
    m_document->setPrompter(prompter);
}

void frmData::setSaveAction(std::function<void()> save)
{
    m_save = std::move(save);
}

void frmData::SetDocumentButtons(bool enabled)
{
    emit documentButtonsRequested(enabled, m_document->kind());
}

void frmData::SetRealtimeCommands(bool running)
{
    m_running = running;
    m_progress->setVisible(running);
    onScrollChanged();
}

StatusPanel* frmData::panel(const QString& key) const
{
    for (QWidget* bar : m_statusBars) {
        if (auto* label = bar->findChild<StatusPanel*>(key, Qt::FindDirectChildrenOnly))
            return label;
    }
    return nullptr;
}

double frmData::widthTwips() const
{
    return pixelsToTwips(width(), logicalDpiX());
}

double frmData::heightTwips() const
{
    return pixelsToTwips(height(), logicalDpiY());
}

QSize frmData::sizeHint() const
{
    return {twipsToPixels(m_document->windowWidth(), logicalDpiX()),
            twipsToPixels(m_document->windowHeight(), logicalDpiY())};
}

// --- Frame: activation, state, size ----------------------------------------------------------

bool frmData::event(QEvent* event)
{
    if (event->type() == QEvent::ParentChange)
        watchFrame();
    if (event->type() == QEvent::WindowStateChange && isWindow())
        setFrameWindowState(windowState());
    return QWidget::event(event);
}

void frmData::watchFrame()
{
    auto* frame = qobject_cast<QMdiSubWindow*>(parentWidget());
    if (frame == m_frame)
        return;
    if (m_frame)
        disconnect(m_frame, nullptr, this, nullptr);
    m_frame = frame;
    if (!frame)
        return;
    connect(frame, &QMdiSubWindow::windowStateChanged, this,
            [this](Qt::WindowStates, Qt::WindowStates now) {
                const bool active = now.testFlag(Qt::WindowActive);
                if (active != m_active) {
                    m_active = active;
                    SetDocumentButtons(active);
                }
                setFrameWindowState(now);
            });
}

void frmData::setFrameWindowState(Qt::WindowStates state)
{
    const int code = stateCode(state);
    if (code == m_frameState)
        return;
    m_frameState = code;
    m_document->setWindowState(code);
    if (code == 0)
        rememberNormalSize();
    emit frameStateChanged(code);
}

int frmData::frameWindowState() const
{
    if (m_frame)
        return stateCode(m_frame->windowState());
    if (isWindow())
        return stateCode(windowState());
    return m_frameState;
}

void frmData::rememberNormalSize()
{
    if (frameWindowState() == 0)
        m_document->setNormalSize(static_cast<float>(widthTwips()), static_cast<float>(heightTwips()));
}

QSize frmData::roomForWindow() const
{
    // The document area's viewport, once it is shown and has its size.
    if (m_frame && m_frame->parentWidget() && m_frame->parentWidget()->isVisible())
        return m_frame->parentWidget()->size();
    const QScreen* screen = this->screen();
    return screen ? screen->availableGeometry().size() : QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
}

void frmData::applyDocumentSize()
{
    const int state = m_document->windowState();
    const QSize room = roomForWindow();
    if (m_frame) {
        m_frame->setWindowState(m_frame->windowState() & ~(Qt::WindowMinimized | Qt::WindowMaximized));
        m_frame->resize(m_frame->sizeHint().boundedTo(room)); // this window's size hint plus the frame
    } else {
        resize(sizeHint().boundedTo(room));
    }
    QWidget* target = m_frame ? m_frame.data() : (isWindow() ? this : nullptr);
    if (target && state == 1)
        target->setWindowState(target->windowState() | Qt::WindowMinimized);
    else if (target && state == 2)
        target->setWindowState(target->windowState() | Qt::WindowMaximized);
}

void frmData::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (m_grid && (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)) {
        fitPanels();
        relayout();
    }
}

void frmData::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    rememberNormalSize(); // first, so the data file keeps the normal size
    relayout();
}

void frmData::relayout()
{
    const double dpiX = logicalDpiX();
    const double dpiY = logicalDpiY();
    int y = 0;
    for (QWidget* bar : m_statusBars) {
        const int h = bar->sizeHint().height();
        bar->setGeometry(0, y, width(), h);
        y += h;
    }
    m_placement = arrangeDocument(widthTwips(), heightTwips(), m_design);
    const auto pixels = [dpiX, dpiY](const QRectF& r) {
        return QRect(twipsToPixels(r.left(), dpiX), twipsToPixels(r.top(), dpiY), twipsToPixels(r.width(), dpiX),
                     twipsToPixels(r.height(), dpiY));
    };
    m_grid->setGeometry(pixels(m_placement.grid));
    m_chart->setGeometry(pixels(m_placement.chart));
    m_scroll->setGeometry(pixels(m_placement.scroll));
    m_progress->setGeometry(pixels(m_placement.progress));
}

// --- Copy and export ---------------------------------------------------------------------------

QList<int> frmData::selectedRows() const
{
    QList<int> rows;
    const QModelIndexList selected = m_grid->selectionModel()->selectedIndexes();
    for (const QModelIndex& index : selected)
        rows << DocumentTableModel::gridRow(index.row());
    if (rows.isEmpty() && m_grid->currentIndex().isValid())
        rows << DocumentTableModel::gridRow(m_grid->currentIndex().row());
    return rows;
}

void frmData::copyRows()
{
    const QList<int> rows = selectedRows();
    if (!rows.isEmpty())
        QGuiApplication::clipboard()->setText(rowsAsText(*m_document, rows));
}

void frmData::exportChart()
{
    RefusingPrompter refusing;
    frmExport dialog(m_chart, m_prompter ? m_prompter : &refusing, this);
    dialog.exec();
}

// --- Close -----------------------------------------------------------------------------------

void frmData::closeEvent(QCloseEvent* event)
{
    RefusingPrompter refusing;
    Prompter& prompter = m_prompter ? *m_prompter : refusing;
    if (!m_document->queryClose(prompter, m_save)) {
        event->ignore();
        return;
    }
    m_active = false;
    SetDocumentButtons(false);
    event->accept();
}

// --- Following the document ---------------------------------------------------------------------

void frmData::onGridReset()
{
    if (m_model->rowCount() > 0)
        m_grid->setCurrentIndex(m_model->index(0, 0)); // grid row 1, column 1
    m_grid->scrollToTop();
}

void frmData::onRealtimeRowAdded(int row)
{
    const int r = row - 1; // model rows start at grid row 1
    if (r < 0 || r >= m_model->rowCount())
        return;
    const int top = m_grid->rowViewportPosition(r);
    if (top >= 0 && top + m_grid->rowHeight(r) <= m_grid->viewport()->height())
        return; // visible already
    // The view lays its new rows out later; its scroll range must know them now. Near the
    // end of the grid the new row cannot be the top row: it is then the last visible one.
    static_cast<DataGrid*>(m_grid)->updateGeometries();
    m_grid->scrollTo(m_model->index(r, 0), QAbstractItemView::PositionAtTop);
}

void frmData::onScrollChanged()
{
    const ScrollRange& s = m_document->scrollRange();
    m_syncingScroll = true;
    // A scroll bar with nothing to scroll shows no thumb of an earlier range.
    m_scroll->setRange(0, s.enabled ? s.maximum : 0);
    m_scroll->setValue(s.value);
    m_syncingScroll = false;
    m_scroll->setEnabled(s.enabled && !m_running);
}

void frmData::onUserScroll(int value)
{
    if (m_syncingScroll)
        return;
    m_document->setScrollValue(value);
}

void frmData::onProgressChanged()
{
    m_progress->setMaximum(std::max(0, m_document->progressMaximum()));
    m_progress->setValue(std::min(m_document->progressValue(), m_progress->maximum()));
}

void frmData::showJudgePanel()
{
    // Only with limits: without them the window is as it has always been.
    const bool shown = m_document->limits().active();
    StatusPanel* judge = panel(QStringLiteral("Judge"));
    if (!judge || judge->isHidden() != shown)
        return;
    const int wholeTextsBefore = twipsToPixels(defaultWidthTwips(), logicalDpiX());
    judge->setHidden(!shown);
    if (auto* caption = judge->parentWidget()->findChild<QLabel*>(QStringLiteral("JudgeCaption")))
        caption->setHidden(!shown);
    fitPanels();
    // A window not shown yet opens wide enough for the counts; a shown one that had room for
    // every status text grows by what the counts take, so that MAX keeps its whole text.
    if (!isVisible())
        m_document->setNormalSize(static_cast<float>(defaultWidthTwips()), m_document->windowHeight());
    else if (shown)
        widenFor(twipsToPixels(defaultWidthTwips(), logicalDpiX()) - wholeTextsBefore, wholeTextsBefore);
    relayout();
}

void frmData::widenFor(int growth, int roomyWidth)
{
    QWidget* target = m_frame ? m_frame.data() : (isWindow() ? this : nullptr);
    if (growth <= 0 || !target || width() < roomyWidth
        || (target->windowState() & (Qt::WindowMinimized | Qt::WindowMaximized)))
        return; // a window the person made narrow, or one that fills its area, stays as it is
    const int widest = std::max(target->width(), roomForWindow().width());
    target->resize(std::min(target->width() + growth, widest), target->height());
}

void frmData::onPanelTextChanged(const QString& key, const QString& text)
{
    if (StatusPanel* label = panel(key))
        label->showText(text);
}

bool frmData::eventFilter(QObject* watched, QEvent* event)
{
    auto* corner = qobject_cast<QAbstractButton*>(watched);
    if (corner && event->type() == QEvent::Paint) {
        QPainter painter(corner);
        QStyleOptionHeader option;
        option.initFrom(corner);
        option.rect = corner->rect();
        option.text = m_model->cornerText();
        option.textAlignment = Qt::AlignCenter;
        option.position = QStyleOptionHeader::OnlyOneSection;
        corner->style()->drawControl(QStyle::CE_Header, &option, &painter, corner);
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace quvo
