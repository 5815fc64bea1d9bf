#include "publish/frmPublishing.h"

#include "publish/Publishing.h"
#include "resources/ObjectName.h"
#include "resources/Prompter.h"
#include "resources/ResID.h"
#include "resources/SettingsStore.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace quvo {

namespace {

const QString CrLf = QStringLiteral("\r\n");

} // namespace

frmPublishing::frmPublishing(const PublishSettings& settings, Prompter* prompter, QWidget* parent)
    : QDialog(parent), m_prompter(prompter)
{
    setObjectName(QStringLiteral("frmPublishing"));
    setWindowTitle(QStringLiteral("Publishing"));
    setModal(true);

    cbEnabled = named(new QCheckBox(QStringLiteral("&Publish readings to a message broker (MQTT)"), this), "cbEnabled");

    frBroker = named(new QGroupBox(QStringLiteral("Broker"), this), "frBroker");
    tbUrl = named(new QLineEdit(frBroker), "tbUrl");
    tbUrl->setPlaceholderText(QStringLiteral("mqtt://host:1883 or mqtts://host:8883"));
    tbUrl->setMinimumWidth(tbUrl->fontMetrics().horizontalAdvance(QStringLiteral("mqtts://broker.example.org:8883"))
                           + 24);
    tbCaFile = named(new QLineEdit(frBroker), "tbCaFile");
    tbCaFile->setPlaceholderText(QStringLiteral("the system's certificates"));
    btBrowse = named(new QPushButton(ResID(Res::Browse), frBroker), "btBrowse");
    auto* caRow = new QHBoxLayout;
    caRow->addWidget(tbCaFile, 1);
    caRow->addWidget(btBrowse);
    tbUserName = named(new QLineEdit(frBroker), "tbUserName");
    tbUserName->setPlaceholderText(QStringLiteral("none"));
    tbPassword = named(new QLineEdit(frBroker), "tbPassword");
    tbPassword->setEchoMode(QLineEdit::Password);
    tbTopic = named(new QLineEdit(frBroker), "tbTopic");
    tbTopic->setPlaceholderText(defaultTopicPrefix());
    llTopics = named(new QLabel(frBroker), "llTopics");
    llTopics->setWordWrap(true);
    auto* form = new QFormLayout(frBroker);
    const auto addRow = [&](const char* name, const QString& caption, QWidget* field, QLayout* row) {
        auto* label = named(new QLabel(caption, frBroker), name);
        label->setBuddy(field);
        if (row)
            form->addRow(label, row);
        else
            form->addRow(label, field);
    };
    addRow("llUrl", QStringLiteral("&URL:"), tbUrl, nullptr);
    addRow("llCaFile", QStringLiteral("&CA file (mqtts://):"), tbCaFile, caRow);
    addRow("llUserName", QStringLiteral("User &name:"), tbUserName, nullptr);
    addRow("llPassword", QStringLiteral("Pass&word:"), tbPassword, nullptr);
    addRow("llTopic", QStringLiteral("&Topic prefix:"), tbTopic, nullptr);
    form->addRow(QString(), llTopics);

    const QString storeFile = settingsStoreFile();
    llPasswordNote = named(new QLabel(this), "llPasswordNote");
    llPasswordNote->setWordWrap(true);
    llPasswordNote->setText(storeFile.isEmpty()
                                ? QStringLiteral("The password is kept in your user settings.")
                                : QStringLiteral("The password is kept as typed in %1, which only you can read.")
                                      .arg(QDir::toNativeSeparators(storeFile)));

    btOk = named(new QPushButton(QStringLiteral("OK"), this), "btOk");
    btOk->setDefault(true);
    btCancel = named(new QPushButton(ResID(Res::Cancel), this), "btCancel");
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(btOk);
    buttons->addWidget(btCancel);

    auto* main = new QVBoxLayout(this);
    main->addWidget(cbEnabled);
    main->addWidget(frBroker);
    main->addWidget(llPasswordNote);
    main->addLayout(buttons);

    cbEnabled->setChecked(settings.enabled);
    tbUrl->setText(settings.url);
    tbCaFile->setText(settings.caFile);
    tbUserName->setText(settings.userName);
    tbPassword->setText(settings.password);
    tbTopic->setText(settings.topicPrefix);

    connect(cbEnabled, &QCheckBox::toggled, this, &frmPublishing::updateFields);
    connect(tbUrl, &QLineEdit::textChanged, this, &frmPublishing::updateFields);
    connect(tbTopic, &QLineEdit::textChanged, this, &frmPublishing::updateFields);
    connect(btBrowse, &QPushButton::clicked, this, &frmPublishing::onBrowse);
    connect(btOk, &QPushButton::clicked, this, &frmPublishing::onOk);
    connect(btCancel, &QPushButton::clicked, this, &QDialog::reject);
    updateFields();
}

PublishSettings frmPublishing::settings() const
{
    PublishSettings s;
    s.enabled = cbEnabled->isChecked();
    s.url = tbUrl->text().trimmed();
    s.caFile = tbCaFile->text().trimmed();
    s.userName = tbUserName->text().trimmed();
    s.password = tbPassword->text();
    s.topicPrefix = tbTopic->text().trimmed();
    return s;
}

void frmPublishing::updateFields()
{
    const bool on = cbEnabled->isChecked();
    frBroker->setEnabled(on);
    // The CA file belongs to mqtts:// only.
    const bool tls = tbUrl->text().trimmed().startsWith(QLatin1String("mqtts://"), Qt::CaseInsensitive);
    tbCaFile->setEnabled(tls || !tbCaFile->text().isEmpty());
    btBrowse->setEnabled(tls);
    const QString prefix = topicPrefixOf(settings());
    llTopics->setText(QStringLiteral("Readings go to %1/reading; %1/state and %1/status are kept by the broker.")
                          .arg(prefix.toHtmlEscaped()));
}

QLineEdit* frmPublishing::fieldOf(PublishField field) const
{
    switch (field) {
    case PublishField::Url:
        return tbUrl;
    case PublishField::CaFile:
        return tbCaFile;
    case PublishField::UserName:
        return tbUserName;
    case PublishField::Password:
        return tbPassword;
    case PublishField::TopicPrefix:
        break;
    }
    return tbTopic;
}

void frmPublishing::onBrowse()
{
    if (!m_prompter)
        return;
    FileDialogRequest request;
    request.mode = FileDialogRequest::Mode::Open;
    request.filter = QStringLiteral("CA certificates (*.pem;*.crt)|*.pem;*.crt|All files (*.*)|*.*|");
    request.fileName = tbCaFile->text();
    request.fileMustExist = true;
    request.pathMustExist = true;
    const QString chosen = m_prompter->chooseFile(request);
    if (!chosen.isEmpty())
        tbCaFile->setText(QDir::toNativeSeparators(chosen));
}

void frmPublishing::onOk()
{
    if (!m_prompter)
        return;
    const PublishSettings chosen = settings();
    if (const std::optional<SettingsProblem> problem = checkPublishSettings(chosen)) {
        m_prompter->warn(problem->message);
        QLineEdit* field = fieldOf(problem->field);
        field->setFocus();
        field->selectAll();
        return;
    }
    if (chosen.enabled) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        const QString problem = tryBroker(chosen, std::chrono::seconds(TrialSeconds));
        QApplication::restoreOverrideCursor();
        if (!problem.isEmpty()) {
            const PromptAnswer answer = m_prompter->message(
                problem + CrLf + CrLf + QStringLiteral("Keep these settings all the same?"), PromptButtons::YesNo,
                PromptIcon::Question, PromptAnswer::No);
            if (answer != PromptAnswer::Yes)
                return;
        }
    }
    accept();
}

} // namespace quvo
