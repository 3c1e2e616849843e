#include "support/simulated_driver.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <stdexcept>

#include <dlfcn.h>

namespace {

constexpr const char *misbehaviour_variable = "BOARDSIM_MISBEHAVIOUR";

void write_file(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size())
        throw std::runtime_error("cannot write " + path.toStdString());
}

QString gate_path(const QString &name)
{
    static const QTemporaryDir folder;
    return folder.filePath(name);
}

} // namespace

QStringList SimulatedDriver::two_boards_and_a_hub()
{
    return {
        QStringLiteral(
            R"({"type":"device","kind":1,"board":7,"info":"hid<true>vid<04d8>pid<00a1>xp<4>xt<10>xl<2>"})"),
        QStringLiteral(R"({"type":"device","kind":2,"board":0,"info":""})"),
        QStringLiteral(R"({"type":"device","kind":1,"board":3,"info":"hid<serial>"})"),
    };
}

SimulatedDriver::SimulatedDriver(const QStringList &scenario, const QString &variant)
    : SimulatedDriver(scenario, Library{variant.isEmpty() ? "driver" : "variants/" + variant, {}})
{
}

SimulatedDriver SimulatedDriver::hostile(const QByteArray &misbehaviour, const QStringList &scenario)
{
    return {scenario, Library{"hostile", misbehaviour}};
}

SimulatedDriver::SimulatedDriver(const QStringList &scenario, const Library &library)
{
    const QString version = QStringLiteral(R"({"type":"scenario","version":1})");
    write_file(m_folder.filePath("scenario.jsonl"),
               (QStringList(version) + scenario).join('\n').toUtf8() + '\n');
    write_file(m_folder.filePath("log.jsonl"), {});
    qputenv("BOARDSIM_SCENARIO", m_folder.filePath("scenario.jsonl").toUtf8());
    qputenv("BOARDSIM_LOG", m_folder.filePath("log.jsonl").toUtf8());

    if (!library.misbehaviour.isEmpty())
        qputenv(misbehaviour_variable, library.misbehaviour);

    // If a library with the requested soname is already in memory, the loader uses it.
    const QString path = QStringLiteral(BOARDSIM_FOLDER "/%1/libzorvicboardex.so.1").arg(library.folder);
    m_library = dlopen(path.toUtf8().constData(), RTLD_NOW | RTLD_LOCAL);
    if (!m_library)
        throw std::runtime_error(dlerror());
}

SimulatedDriver::~SimulatedDriver()
{
    dlclose(m_library);
    qunsetenv("BOARDSIM_SCENARIO");
    qunsetenv("BOARDSIM_LOG");
    qunsetenv(misbehaviour_variable);
    for (const QFileInfo &gate : QFileInfo(gate_path("any")).dir().entryInfoList(QDir::Files))
        QFile::remove(gate.filePath());
}

QString SimulatedDriver::folder()
{
    return QStringLiteral(BOARDSIM_FOLDER "/driver");
}

QString SimulatedDriver::hostile_folder()
{
    return QStringLiteral(BOARDSIM_FOLDER "/hostile");
}

std::vector<nlohmann::ordered_json> SimulatedDriver::log() const
{
    QFile file(m_folder.filePath("log.jsonl"));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("no log of the simulated driver");
    std::vector<nlohmann::ordered_json> entries;
    const qint64 end = file.size(); // it may grow faster than it is read
    for (QByteArray line = file.readLine(); line.endsWith('\n') && file.pos() <= end; line = file.readLine())
        entries.push_back(nlohmann::ordered_json::parse(line.toStdString()));
    return entries;
}

bool SimulatedDriver::has_mark(const std::string &text) const
{
    const std::vector<nlohmann::ordered_json> entries = log();
    return std::any_of(entries.begin(), entries.end(),
                       [&](const auto &entry) { return entry.contains("mark") && entry["mark"] == text; });
}

std::vector<DriverCall> SimulatedDriver::calls() const
{
    std::vector<DriverCall> calls;
    for (const nlohmann::ordered_json &entry : log()) {
        if (!entry.contains("export"))
            continue;
        const std::string name = entry["export"];
        calls.push_back({name.substr(std::string("zorvic").size()), entry["arguments"], entry["result"],
                         entry["thread"]});
    }
    return calls;
}

std::vector<DriverCall> SimulatedDriver::calls(const std::string &name) const
{
    std::vector<DriverCall> wanted;
    for (const DriverCall &call : calls()) {
        if (call.name == name)
            wanted.push_back(call);
    }
    return wanted;
}

std::vector<std::string> SimulatedDriver::call_texts() const
{
    std::vector<std::string> texts;
    for (const DriverCall &call : calls()) {
        std::string values;
        for (const auto &[key, value] : call.arguments.items()) {
            const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
            const bool is_pointer = text.compare(0, 2, "0x") == 0;
            if (!is_pointer)
                values += (values.empty() ? "" : ", ") + text;
        }
        texts.push_back(call.name + "(" + values + ")");
    }
    return texts;
}

void SimulatedDriver::clear_calls()
{
    write_file(m_folder.filePath("log.jsonl"), {});
}

void SimulatedDriver::open_gate(const QString &name) const
{
    write_file(gate_path(name), {});
}

QString SimulatedDriver::gate(const QString &name)
{
    return QStringLiteral(R"({"type":"wait","file":"%1"})").arg(gate_path(name));
}
