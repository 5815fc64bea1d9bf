#include "acquisition/HeadlessHost.h"

#include "document/DataDocument.h"
#include "resources/ProgramState.h"
#include "resources/ProgressView.h"

namespace quvo {

class HeadlessHost::AnsweringPrompter : public Prompter {
public:
    PromptAnswer answer = PromptAnswer::No;
    std::function<void(const QString&)> handler;
    QStringList messages;
    QStringList questions;

    PromptAnswer message(const QString& text, PromptButtons buttons, PromptIcon, PromptAnswer) override
    {
        if (buttons == PromptButtons::Ok) {
            QString shown = text;
            shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
            messages.append(shown);
            if (handler)
                handler(shown);
            return PromptAnswer::Ok;
        }
        questions.append(text);
        return answer;
    }

    QString chooseFile(const FileDialogRequest&) override { return {}; }
};

class HeadlessHost::NoForwarder : public RealtimeForwarder {
public:
    bool BeginRealtimeForward() override
    {
        programState().LastError = QStringLiteral("Forwarding to a workbook is not set up.");
        return false;
    }
    bool AppendRealtimeRow(const QString&, const QString&, const QString&) override
    {
        programState().LastError = QStringLiteral("Forwarding to a workbook is not set up.");
        return false;
    }
    void EndRealtimeForward() override {}
    void releaseRealtimeForward() override {}
};

HeadlessHost::HeadlessHost()
    : m_prompter(std::make_unique<AnsweringPrompter>()), m_noForwarder(std::make_unique<NoForwarder>())
{
}

HeadlessHost::~HeadlessHost()
{
    ProgramState& s = programState();
    for (const auto& document : m_documents) {
        if (s.RealtimeDoc == document.get())
            s.RealtimeDoc = nullptr;
        if (s.CurrentDoc == document.get())
            s.CurrentDoc = nullptr;
    }
}

void HeadlessHost::setQuestionAnswer(PromptAnswer answer)
{
    m_prompter->answer = answer;
}

void HeadlessHost::setMessageHandler(std::function<void(const QString&)> handler)
{
    m_prompter->handler = std::move(handler);
}

void HeadlessHost::setProgressFactory(std::function<std::unique_ptr<ProgressView>()> factory)
{
    m_progressFactory = std::move(factory);
}

void HeadlessHost::setMonitor(MonitorSink* monitor)
{
    m_monitor = monitor;
}

void HeadlessHost::setRealtimeForwarder(RealtimeForwarder* forwarder)
{
    m_forwarder = forwarder;
}

void HeadlessHost::setReadingObserver(ReadingObserver* observer)
{
    m_readingObserver = observer;
}

void HeadlessHost::setDocumentForwarder(std::function<void()> forward)
{
    m_documentForwarder = std::move(forward);
}

void HeadlessHost::setForwardConfirmed(bool confirmed)
{
    m_forwardConfirmed = confirmed;
}

void HeadlessHost::setActiveDocument(DataDocument* document)
{
    m_active = document;
}

QStringList HeadlessHost::messages() const
{
    return m_prompter->messages;
}

QStringList HeadlessHost::questions() const
{
    return m_prompter->questions;
}

Prompter& HeadlessHost::prompter()
{
    return *m_prompter;
}

void HeadlessHost::SetRealtimeCommands(bool running)
{
    m_realtimeRunning = running;
    m_stopEnabled = running;
}

void HeadlessHost::SetMonitorCommands(bool running)
{
    m_monitorRunning = running;
    m_stopEnabled = running;
}

void HeadlessHost::disableStopCommands(StopTarget)
{
    m_stopEnabled = false;
}

void HeadlessHost::setStatusMessage(const QString& text)
{
    m_status = text;
}

MonitorSink* HeadlessHost::monitor(bool)
{
    return m_monitor;
}

std::unique_ptr<ProgressView> HeadlessHost::openProgress()
{
    return m_progressFactory ? m_progressFactory() : nullptr;
}

DataDocument* HeadlessHost::newDocument(int kind)
{
    auto document = std::make_unique<DataDocument>();
    document->setPrompter(m_prompter.get());
    document->OpenNew(kind);
    m_active = document.get();
    m_documents.push_back(std::move(document));
    return m_active;
}

DataDocument* HeadlessHost::activeDocument()
{
    return m_active;
}

void HeadlessHost::showIntervalDialog(DataDocument&)
{
    ++m_intervalDialogs; // the interval and period are set by the caller beforehand
}

void HeadlessHost::showForwardDialog()
{
    ++m_forwardDialogs;
    programState().NoForward = !m_forwardConfirmed;
}

void HeadlessHost::forwardCurrentDocument()
{
    if (m_documentForwarder)
        m_documentForwarder();
}

RealtimeForwarder& HeadlessHost::realtimeForwarder()
{
    return m_forwarder ? *m_forwarder : *m_noForwarder;
}

ReadingObserver* HeadlessHost::readingObserver()
{
    return m_readingObserver;
}

} // namespace quvo
