#include "e2e/lab_run.h"

#include <QFile>
#include <QImage>

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::string callText(const Json &call)
{
    std::string text = call["export"].get<std::string>();
    for (const auto &argument : call["arguments"].items()) {
        const std::string value = argument.value().dump();
        if (value.rfind("\"0x", 0) != 0)
            text += " " + argument.key() + "=" + value;
    }
    return text + " -> " + call["result"].dump();
}

} // namespace

LabRun::LabRun() = default;

QString LabRun::write(const QString &name, const QStringList &lines) const
{
    QFile file(path(name));
    if (file.open(QIODevice::WriteOnly))
        file.write(lines.join('\n').toUtf8() + '\n');
    return file.fileName();
}

std::vector<std::string> LabRun::lines(const QString &name) const
{
    QFile file(path(name));
    std::vector<std::string> lines;
    if (!file.open(QIODevice::ReadOnly))
        return lines;
    for (QByteArray line = file.readLine(); line.endsWith('\n'); line = file.readLine())
        lines.push_back(line.chopped(1).toStdString());
    return lines;
}

QProcessEnvironment LabRun::environment(const QString &log) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", m_desktop.display());
    environment.insert("QT_QPA_PLATFORM", "xcb");
    environment.insert("LC_ALL", "C");
    environment.insert("XDG_RUNTIME_DIR", m_runtime_folder.path());
    environment.insert("BOARDSIM_LOG", path(log));
    return environment;
}

void LabRun::start(QProcess &lab, const QStringList &arguments, const QString &log) const
{
    lab.setProcessEnvironment(environment(log));
    lab.start(LANTERNIX_LAB, arguments);
}

bool LabRun::takePicture(const QString &name) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", m_desktop.display());
    QImage former;
    return eventually([&] {
        QProcess maim;
        maim.setProcessEnvironment(environment);
        maim.start("maim", {"--hidecursor", path(name)});
        maim.waitForFinished();
        const QImage latest(path(name));
        const bool rests = !latest.isNull() && latest == former;
        former = latest;
        return rests;
    });
}

Events eventsOf(const std::vector<std::string> &lines)
{
    Events events;
    for (const std::string &line : lines) {
        const Json json = Json::parse(line);
        if (json.contains("export"))
            events.calls.push_back(callText(json));
        else if (json.contains("report"))
            events.reports.push_back(json["board"].dump() + " " + json["report"].get<std::string>());
        else if (json.value("type", "") == "raw")
            events.reports.push_back(json["board"].dump() + " " + json["hex"].get<std::string>());
    }
    return events;
}
