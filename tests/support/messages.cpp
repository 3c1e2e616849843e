#include "support/messages.h"

#include <QString>

namespace {

std::vector<std::string> collected;

void collect(QtMsgType, const QMessageLogContext &, const QString &message)
{
    collected.push_back(message.toStdString());
}

} // namespace

Messages::Messages() : m_former(qInstallMessageHandler(collect))
{
    collected.clear();
}

Messages::~Messages()
{
    qInstallMessageHandler(m_former);
}

std::vector<std::string> Messages::all()
{
    return collected;
}
