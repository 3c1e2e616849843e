#include "hardware/zorvichardware.h"

#include "hardware/reportlayout.h"
#include "hardware/zorvicwrapper.h"

#include <QApplication>
#include <QDebug>
#include <QDesktopWidget>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>
#include <numeric>

using namespace reportlayout;

namespace {

constexpr unsigned char allTransfers = 0xFF;
constexpr auto callbackPatience = std::chrono::milliseconds(500);

enum DeviceKind { boardKind = 1, legacyHubKind = 2, hub24GHzKind = 3, virtualHubKind = 4 };

QRect primaryScreenGeometry()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const QDesktopWidget *const desktop = QApplication::desktop();
    return desktop->screenGeometry(desktop->primaryScreen());
    QT_WARNING_POP
}

template <typename Mode> unsigned char driverByte(Mode mode)
{
    return static_cast<unsigned char>(mode);
}

} // namespace

ZorvicHardware::ZorvicHardware(QObject *parent) : QObject(parent), m_screen(primaryScreenGeometry())
{
    qRegisterMetaType<TouchContact>("ZorvicHardware::TouchContact");
    qRegisterMetaType<EraseContact>("ZorvicHardware::EraseContact");
    qRegisterMetaType<TouchEvent>("ZorvicHardware::TouchEvent");
    qRegisterMetaType<EraseEvent>("ZorvicHardware::EraseEvent");
    qRegisterMetaType<BoardInfo>("ZorvicHardware::BoardInfo");
    qRegisterMetaType<TouchStatus>("ZorvicHardware::TouchStatus");
    qRegisterMetaType<PenEvent>("ZorvicHardware::PenEvent");
}

ZorvicHardware::~ZorvicHardware()
{
    const Backlog::Opening opening(m_backlog);
    m_callbacks.close();
}

bool ZorvicHardware::init()
{
    if (!initialiseZorvicWrapper())
        return false;
    int generation = 0;
    {
        const std::lock_guard lock(m_mutex);
        generation = m_generation;
    }
    m_wrapper->SetPnpCallback(pnpCallback, this); // a change may come before it returns, and counts then
    enumerate(generation);
    return true;
}

void ZorvicHardware::uninit()
{
    if (!m_wrapper)
        return;
    const Backlog::Opening opening(m_backlog);
    m_wrapper->ClearPnpCallback(pnpCallback, this);
    m_wrapper->Detach();
}

bool ZorvicHardware::end()
{
    const Backlog::Opening opening(m_backlog);
    return m_callbacks.close(callbackPatience);
}

bool ZorvicHardware::initialiseZorvicWrapper()
{
    if (!m_wrapper) {
        m_wrapper = std::make_unique<ZorvicWrapper>();
        m_wrapper->Attach();
    }
    return static_cast<const ZorvicWrapper &>(*m_wrapper).isOpen();
}

void ZorvicHardware::enumerate()
{
    int generation = 0;
    {
        const std::lock_guard lock(m_mutex);
        generation = m_generation;
    }
    enumerate(generation);
}

void ZorvicHardware::enumerate(int generation)
{
    const Backlog::Opening opening(m_backlog);
    int count = 0;
    if (m_wrapper) {
        m_wrapper->Attach();
        count = m_wrapper->GetDeviceCount();
    }
    for (int index = 0; index < count; ++index) {
        _ZORVIC_DEVICE_INFO info{};
        info.size = _ZORVIC_DEVICE_INFO::sizeMarker;
        if (m_wrapper->EnumDeviceInfo(index, &info))
            enumerateDevice(info, generation);
    }
    emitCount({generation, count});
}

void ZorvicHardware::enumerateDevice(const _ZORVIC_DEVICE_INFO &info, int generation)
{
    switch (info.kind) {
    case boardKind:
        addBoard(info, generation);
        break;
    case legacyHubKind:
        emit hubEnumerated(QStringLiteral("legacy"));
        break;
    case hub24GHzKind:
        emit hubEnumerated(QStringLiteral("2.4GHz"));
        break;
    case virtualHubKind:
        emit hubEnumerated(QStringLiteral("virtual"));
        break;
    default:
        break;
    }
}

void ZorvicHardware::addBoard(const _ZORVIC_DEVICE_INFO &info, int generation)
{
    {
        const std::lock_guard lock(m_mutex);
        if (generation != m_generation) // boards have come or gone meanwhile, and are being enumerated again
            return;
        m_reporting.append(info.board);
    }
    settleCallback(info.board, false);
    m_wrapper->SetXferMask(info.board, allTransfers);
    const BoardInfo board = boardInfo(info);
    int index = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (generation != m_generation)
            return;
        m_boards.append(board);
        index = m_boards.size() - 1;
    }
    emit boardEnumerated(index, board);
}

void ZorvicHardware::settleCallback(int board, bool registered)
{
    const auto isReporting = [&] {
        const std::lock_guard lock(m_mutex);
        return m_reporting.contains(board);
    };
    while (isReporting() != registered) {
        registered = !registered;
        if (registered)
            m_wrapper->SetCallback(board, processPacketCallback, this);
        else
            m_wrapper->ClearCallback(board, processPacketCallback, this);
    }
}

void ZorvicHardware::emitCount(const DeviceCount &own)
{
    std::unique_lock lock(m_mutex);
    if (own.generation != m_generation)
        return;
    DeviceCount emitted;
    m_newestCount = own;
    do {
        emitted = m_newestCount;
        lock.unlock();
        emit deviceEnumCount(emitted.count);
        lock.lock();
    } while (emitted.generation != m_newestCount.generation);
}

ZorvicHardware::BoardInfo ZorvicHardware::boardInfo(const _ZORVIC_DEVICE_INFO &info)
{
    // A driver that fills its record to the last byte leaves no room for the NUL.
    const auto length = strnlen(info.additionalInfo, sizeof info.additionalInfo);
    const QString text = QString::fromLatin1(info.additionalInfo, static_cast<int>(length));
    const auto value = [&text](const char *key) {
        return parseAdditionalInfoKeyValue(text, QString::fromLatin1(key));
    };

    BoardInfo board;
    board.type = value("hid");
    if (board.type == QLatin1String("true"))
        board.type = QStringLiteral("HID");
    board.vid = value("vid").toInt(nullptr, 16);
    board.pid = value("pid").toInt(nullptr, 16);
    board.xp = value("xp").toInt();
    board.xt = value("xt").toInt();
    board.xl = value("xl").toInt();
    board.board = info.board;
    return board;
}

QString ZorvicHardware::parseAdditionalInfoKeyValue(const QString &text, const QString &key)
{
    // Deliberate: the key is found anywhere, even inside the name of an earlier item.
    const int found = text.indexOf(key);
    if (found < 0)
        return {};
    const int open = text.indexOf(QLatin1Char('<'), found);
    if (open < 0)
        return {};
    const int close = text.indexOf(QLatin1Char('>'), open);
    if (close < 0)
        return {};
    return text.mid(open + 1, close - open - 1);
}

std::vector<int> ZorvicHardware::boardNumbers() const
{
    // Numbers: a copy of the list would share its elements, and let its share go outside the lock.
    std::vector<int> numbers;
    const std::lock_guard lock(m_mutex);
    numbers.reserve(static_cast<std::size_t>(m_boards.size()));
    for (const BoardInfo &board : m_boards)
        numbers.push_back(board.board);
    return numbers;
}

std::optional<int> ZorvicHardware::firstBoard() const
{
    const std::lock_guard lock(m_mutex);
    if (m_boards.isEmpty())
        return {};
    return m_boards.constFirst().board;
}

/// Calls the driver by @p operation with the number of each board, in the order of enumeration.
template <typename Operation> void ZorvicHardware::forEachBoard(Operation operation)
{
    const Backlog::Opening opening(m_backlog);
    for (const int board : boardNumbers())
        operation(board);
}

void ZorvicHardware::pnp()
{
    const Backlog::Opening opening(m_backlog);
    QList<int> leaving;
    int listed = 0;
    int generation = 0;
    {
        const std::lock_guard lock(m_mutex);
        generation = ++m_generation;
        leaving.swap(m_reporting);
        listed = m_boards.size();
    }
    for (const int board : leaving)
        settleCallback(board, true);
    {
        const std::lock_guard lock(m_mutex);
        if (generation == m_generation) // else the newer change empties the list, or has done so
            m_boards = m_boards.mid(listed);
    }
    emit pnpEvent();
    enumerate(generation);
}

void ZorvicHardware::pnpCallback(void *context)
{
    const CallbackGuard::Visit visit(context);
    if (visit)
        static_cast<ZorvicHardware *>(context)->pnp();
}

void ZorvicHardware::processPacketCallback(int, const unsigned char *data, unsigned int length, void *context)
{
    if (!data || length <= kindAt || length > INT_MAX)
        return;
    const CallbackGuard::Visit visit(context);
    if (!visit)
        return;
    const bool prefixed = data[kindAt] == prefix::kind && length >= prefix::size;
    const unsigned int skipped = prefixed ? prefix::size : 0;
    const QByteArray report(reinterpret_cast<const char *>(data) + skipped,
                            static_cast<int>(length - skipped));
    static_cast<ZorvicHardware *>(context)->processPacket(report);
}

void ZorvicHardware::processPacket(const QByteArray &report)
{
    if (isPenPacket(report)) {
        PenEvent event;
        getPenData(report, event);
        if (preProcessPenEvent(event))
            return;
        m_backlog.sent(load(event));
        emit penEvent(event);
    } else if (isTouchPacket(report)) {
        TouchEvent contacts;
        getTouchData(report, contacts);
        const TouchEvent kept = preProcessTouchEvent(contacts);
        if (kept.isEmpty())
            return;
        m_backlog.sent(load(kept));
        emit touchEvent(kept);
    } else if (isErasePacket(report)) {
        EraseEvent contacts;
        getEraseData(report, contacts);
        m_backlog.sent(load(contacts));
        emit eraseEvent(contacts);
    } else if (isTouchStatusPacket(report)) {
        TouchStatus values;
        getTouchStatusData(report, values);
        int board = 0;
        {
            const std::lock_guard lock(m_mutex);
            board = m_statusBoard;
        }
        emit touchStatus(board, values);
    }
}

int ZorvicHardware::load(const PenEvent &)
{
    return Backlog::loadOf(0);
}

int ZorvicHardware::load(const TouchEvent &contacts)
{
    return std::accumulate(contacts.begin(), contacts.end(), 0, [](int sum, const TouchContact &touched) {
        return sum + Backlog::loadOf(touched.extent);
    });
}

int ZorvicHardware::load(const EraseEvent &contacts)
{
    return std::accumulate(contacts.begin(), contacts.end(), 0, [](int sum, const EraseContact &eraser) {
        return sum + Backlog::loadOf(std::max(eraser.width, eraser.height));
    });
}

void ZorvicHardware::dumpPacket(const QString &label, const unsigned char *data, unsigned int length)
{
    QString text = QStringLiteral("Dump Packet (%1): ").arg(label);
    for (unsigned int i = 0; i < length; ++i)
        text += QStringLiteral("%1, ").arg(data[i]);
    qDebug().noquote() << text;
}

bool ZorvicHardware::sendCommand(int board, const QByteArray &command)
{
    const Backlog::Opening opening(m_backlog);
    return m_wrapper && m_wrapper->WritePacket(board, command.constData(), command.size()) != -1;
}

void ZorvicHardware::getTouchStatus(int board)
{
    {
        const std::lock_guard lock(m_mutex);
        m_statusBoard = board;
    }
    sendCommand(board, QByteArray(cmdTouchStatus) + '\r');
}

void ZorvicHardware::setTouchReportMode(TouchReportMode mode)
{
    forEachBoard([=](int board) { m_wrapper->SetTouchDestination(board, driverByte(mode)); });
}

void ZorvicHardware::setEraseReportMode(EraseReportMode mode)
{
    // Deliberate: the driver takes the digit as a character, not the number.
    const char digit = mode == EraseReportMode::detectionOn ? '1' : '0';
    forEachBoard([=](int board) { m_wrapper->SetLATEDetection(board, driverByte(digit)); });
}

void ZorvicHardware::setPenReportMode(unsigned char pen, PenReportMode mode)
{
    forEachBoard(
        [=](int board) { m_wrapper->SetPointingDeviceDestination(board, pen, false, driverByte(mode)); });
}

void ZorvicHardware::setPenHardwareMode(unsigned char pen, PenHardwareMode mode)
{
    const QByteArray numbers = QByteArray::number(pen) + QByteArray::number(static_cast<int>(mode));
    forEachBoard([&](int board) { sendCommand(board, cmdPenHardwareMode + numbers + '\r'); });
}

void ZorvicHardware::setGlintray(bool on)
{
    forEachBoard([=](int board) { sendCommand(board, QByteArray(cmdGlintray) + (on ? "1\r" : "0\r")); });
}
