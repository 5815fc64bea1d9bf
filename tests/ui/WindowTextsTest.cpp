// Every window and dialog shows every text whole: each label, button, frame title, text box
// and list box is at least as wide and as high as its text in its own font. Runs as it is
// and at QT_SCALE_FACTOR=2 (see CMakeLists.txt), on the usual palette and on a dark one.

#include "UiTestSupport.h"

#include "acquisition/frmCancel.h"
#include "acquisition/frmInterval.h"
#include "acquisition/frmMoniter.h"
#include "app/DarkPalette.h"
#include "app/frmAbout.h"
#include "app/frmSplash.h"
#include "document/ChartColours.h"
#include "document/DataDocument.h"
#include "document/ChartView.h"
#include "document/frmExport.h"
#include "document/Limits.h"
#include "document/frmLimits.h"
#include "document/frmSetting.h"
#include "forward/ForwardSetup.h"
#include "forward/frmForward.h"
#include "link/Comm.h"
#include "link/frmPort.h"
#include "metersim/MeterSimulator.h"
#include "resources/Constant.h"
#include "resources/ResID.h"
#include "support/ScriptedPrompter.h"
#include "support/TestHelpers.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFontMetrics>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QStyleOptionComboBox>

#include <functional>

using namespace quvo;
using namespace quvo::test;

namespace {

// A text's width in a font; "&" marks a shortcut and is not drawn.
int textWidth(const QWidget* widget, QString text)
{
    text.remove(QLatin1Char('&'));
    int widest = 0;
    for (const QString& line : text.split(QLatin1Char('\n')))
        widest = std::max(widest, widget->fontMetrics().horizontalAdvance(line));
    return widest;
}

QString describe(const QWidget* widget, const QString& text, int need, int room)
{
    return QStringLiteral("%1 \"%2\": needs %3, has %4")
        .arg(widget->objectName().isEmpty() ? QString::fromLatin1(widget->metaObject()->className())
                                            : widget->objectName(),
             text)
        .arg(need)
        .arg(room);
}

// The texts of a shown window that do not fit their widgets.
QStringList cutTexts(const QWidget* window)
{
    QStringList cut;
    const auto check = [&cut](const QWidget* w, const QString& text, int need, int room) {
        if (need > room)
            cut << describe(w, text, need, room);
    };
    for (const QWidget* w : window->findChildren<QWidget*>()) {
        if (!w->isVisibleTo(window))
            continue;
        const int lineHeight = w->fontMetrics().height();
        if (const auto* label = qobject_cast<const QLabel*>(w)) {
            if (label->text().isEmpty())
                continue;
            if (label->wordWrap()) {
                const int need = label->heightForWidth(label->width());
                check(label, label->text(), need, label->height());
                continue;
            }
            int indent = label->indent();
            if (indent < 0)
                indent = label->frameWidth() > 0 ? label->fontMetrics().horizontalAdvance(QLatin1Char('x')) / 2 : 0;
            const int room = label->contentsRect().width() - 2 * label->margin() - indent;
            check(label, label->text(), textWidth(label, label->text()), room);
            check(label, label->text(), lineHeight * (label->text().count(QLatin1Char('\n')) + 1),
                  label->contentsRect().height());
        } else if (const auto* box = qobject_cast<const QCheckBox*>(w)) {
            check(box, box->text(), box->sizeHint().width(), box->width());
        } else if (const auto* radio = qobject_cast<const QRadioButton*>(w)) {
            check(radio, radio->text(), radio->sizeHint().width(), radio->width());
        } else if (const auto* button = qobject_cast<const QPushButton*>(w)) {
            const int margin = button->style()->pixelMetric(QStyle::PM_ButtonMargin, nullptr, button);
            check(button, button->text(), textWidth(button, button->text()) + margin, button->width());
            check(button, button->text(), lineHeight, button->height());
        } else if (const auto* group = qobject_cast<const QGroupBox*>(w)) {
            check(group, group->title(), textWidth(group, group->title()), group->width());
        } else if (const auto* edit = qobject_cast<const QLineEdit*>(w)) {
            if (edit->text().isEmpty() || qobject_cast<const QComboBox*>(edit->parentWidget()))
                continue;
            const int frame = edit->hasFrame() ? edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth) : 0;
            const QMargins m = edit->textMargins();
            const int room = edit->width() - 2 * frame - 4 - m.left() - m.right(); // 2 pixels each side
            check(edit, edit->text(), textWidth(edit, edit->text()), room);
            check(edit, edit->text(), lineHeight, edit->height() - 2 * frame);
        } else if (const auto* combo = qobject_cast<const QComboBox*>(w)) {
            QStyleOptionComboBox option;
            option.initFrom(combo);
            option.editable = combo->isEditable();
            const QRect field =
                combo->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, combo);
            check(combo, combo->currentText(), textWidth(combo, combo->currentText()), field.width());
        }
    }
    return cut;
}

// The enabled texts whose colour stands out from the ground they are drawn on less than the
// 4.5 : 1 that text needs to be read easily.
QStringList faintTexts(const QWidget* window)
{
    QStringList faint;
    for (const QWidget* w : window->findChildren<QWidget*>()) {
        const auto* label = qobject_cast<const QLabel*>(w);
        const auto* button = qobject_cast<const QAbstractButton*>(w);
        if (!w->isVisibleTo(window) || !w->isEnabled() || !(label || button))
            continue;
        const QString text = label ? label->text() : button->text();
        if (text.isEmpty())
            continue;
        // The ground: the widget's own when it fills it, else the nearest parent's that does.
        const QWidget* ground = w;
        while (ground != window && !ground->autoFillBackground() && ground->parentWidget())
            ground = ground->parentWidget();
        const QColor back = ground->palette().color(ground->backgroundRole());
        const QColor fore = w->palette().color(w->foregroundRole());
        const double ratio = contrastRatio(fore, back);
        if (ratio < 4.5)
            faint << QStringLiteral("\"%1\": %2 on %3 (%4 : 1)").arg(text, fore.name(), back.name()).arg(ratio, 0, 'f', 1);
    }
    return faint;
}


class WindowTextsTest : public UiTest, public ::testing::WithParamInterface<bool> {
protected:
    void SetUp() override
    {
        UiTest::SetUp();
        m_palette = QApplication::palette();
        if (GetParam())
            QApplication::setPalette(darkPalette());
        document.OpenNew(DataKinds::Realtime);
    }
    void TearDown() override
    {
        QApplication::setPalette(m_palette);
        UiTest::TearDown();
    }

    // Shows the window as a person gets it and lists its cut texts.
    QStringList shownCut(QWidget& window)
    {
        window.show();
        EXPECT_TRUE(waitFor([&] { return window.isVisible(); }));
        QApplication::processEvents();
        EXPECT_EQ(faintTexts(&window), QStringList());
        return cutTexts(&window);
    }

    ScriptedPrompter prompter;
    DataDocument document;
    QPalette m_palette;
};

} // namespace

TEST_P(WindowTextsTest, IntervalDialog)
{
    frmInterval dialog(&document, &prompter);
    EXPECT_EQ(shownCut(dialog), QStringList());
}

TEST_P(WindowTextsTest, GraphDialog)
{
    frmSetting dialog(&document, &prompter);
    EXPECT_EQ(shownCut(dialog), QStringList());
}

TEST_P(WindowTextsTest, ExportChartDialog)
{
    ChartView chart;
    chart.resize(1234, 567);
    chart.setDocument(&document);
    frmExport dialog(&chart, &prompter);
    EXPECT_EQ(shownCut(dialog), QStringList());
}

TEST_P(WindowTextsTest, PortDialog)
{
    Comm comm;
    frmPort dialog(&comm);
    EXPECT_EQ(shownCut(dialog), QStringList());
}

TEST_P(WindowTextsTest, ForwardDialog)
{
    ForwardSetup setup(prompter);
    setup.Load();
    frmForward dialog(setup);
    EXPECT_EQ(shownCut(dialog), QStringList());
}

TEST_P(WindowTextsTest, ProgressDialog)
{
    frmCancel progress;
    progress.show();
    progress.SetCaption(ResID(Res::ReceiveLoggingMode));
    progress.SetMessage(ResID(Res::Receiving));
    progress.RenProgress(false, 32767, 32767);
    EXPECT_EQ(shownCut(progress), QStringList());
    progress.unload();
}

TEST_P(WindowTextsTest, AboutAndSplashBoxes)
{
    frmAbout about;
    EXPECT_EQ(shownCut(about), QStringList());
    frmSplash splash;
    EXPECT_EQ(shownCut(splash), QStringList());
}

TEST_P(WindowTextsTest, MonitorWithAWideReading)
{
    frmMoniter monitor;
    sim::MeterValue reading;
    reading.sign = QLatin1Char('-');
    reading.number = QStringLiteral("88.888");
    reading.prefix = QLatin1Char('m');
    reading.unit = QStringLiteral("VAC");
    const QString answer = sim::readingLine(QStringLiteral("RR"), reading);
    monitor.SetData(answer + sim::checkCharacter(answer));
    QWidget* window = monitor.frame() ? monitor.frame() : &monitor;
    EXPECT_EQ(shownCut(*window), QStringList());
}

TEST_P(WindowTextsTest, MonitorWithWideLimits)
{
    frmMoniter monitor;
    Limits limits;
    limits.upper = 0.888888;
    limits.lower = -0.888888;
    limits.unit = QStringLiteral("VAC");
    limits.buzzer = true;
    monitor.setLimits(limits);
    sim::MeterValue reading;
    reading.number = QStringLiteral("88.888");
    reading.unit = QStringLiteral("VAC");
    const QString answer = sim::readingLine(QStringLiteral("RR"), reading);
    monitor.SetData(answer + sim::checkCharacter(answer)); // HI lit, in bold
    ASSERT_EQ(monitor.comparator().upperText(), QStringLiteral("888.888mVAC"));
    QWidget* window = monitor.frame() ? monitor.frame() : &monitor;
    EXPECT_EQ(shownCut(*window), QStringList());
}

TEST_P(WindowTextsTest, LimitsDialog)
{
    Limits limits;
    limits.upper = -1.23456789E-9;
    limits.lower = -9.87654321E-9;
    limits.unit = QStringLiteral("OHM");
    ScriptedPrompter prompter;
    frmLimits dialog(limits, &prompter);
    EXPECT_EQ(shownCut(dialog), QStringList());
}

INSTANTIATE_TEST_SUITE_P(Palettes, WindowTextsTest, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& info) { return info.param ? "Dark" : "Light"; });

TEST(WindowTextsCheck, FindsACutTextAndAFaintOne)
{
    QWidget window;
    auto* narrow = new QLabel(QStringLiteral("Number of categories between tick marks"), &window);
    narrow->setObjectName(QStringLiteral("narrow"));
    narrow->setGeometry(0, 0, 60, 30);
    auto* faint = new QPushButton(QStringLiteral("OK"), &window);
    faint->setGeometry(0, 40, 120, 30);
    QPalette grey = faint->palette();
    grey.setColor(QPalette::ButtonText, grey.color(QPalette::Window).darker(110));
    faint->setPalette(grey);
    window.show();
    ASSERT_TRUE(waitFor([&] { return window.isVisible(); }));
    const QStringList cut = cutTexts(&window);
    ASSERT_EQ(cut.size(), 1);
    EXPECT_TRUE(cut.first().startsWith(QStringLiteral("narrow"))) << cut.first().toStdString();
    EXPECT_EQ(faintTexts(&window).size(), 1);
}
