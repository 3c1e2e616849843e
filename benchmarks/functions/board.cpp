// Measures what a report costs on the driver's thread.

#include "receiver.h"

#include "hardware/zorvichardware.h"
#include "report.h"

#include <QWidget>

namespace {

constexpr int middle = 16'000; // raw board units: a place in the widget of interest

boardsim::Bytes pen_report(int x = middle)
{
    return boardsim::penReport({0, x, middle, true, false, false});
}

boardsim::Bytes touch_report(int count, int x = middle)
{
    std::vector<boardsim::TouchContact> contacts;
    for (int id = 0; id < count; ++id)
        contacts.push_back({id, x + id, middle, 200, true});
    return boardsim::touchReport(contacts);
}

boardsim::Bytes erase_report(int count)
{
    std::vector<boardsim::EraseContact> contacts;
    for (int id = 0; id < count; ++id)
        contacts.push_back({id, middle + id, middle, 400, 300, true});
    return boardsim::eraseReport(contacts);
}

QByteArray bytes(const boardsim::Bytes &report)
{
    return {reinterpret_cast<const char *>(report.data()), static_cast<int>(report.size())};
}

void decode_pen(benchmark::State &state)
{
    const QByteArray report = bytes(pen_report());
    for (auto _ : state) {
        ZorvicHardware::PenEvent event;
        ZorvicHardware::getPenData(report, event);
        benchmark::DoNotOptimize(event);
    }
}
BENCHMARK(decode_pen);

void decode_touch(benchmark::State &state)
{
    const QByteArray report = bytes(touch_report(static_cast<int>(state.range(0))));
    for (auto _ : state) {
        ZorvicHardware::TouchEvent contacts;
        ZorvicHardware::getTouchData(report, contacts);
        benchmark::DoNotOptimize(contacts);
    }
}
BENCHMARK(decode_touch)->ArgName("contacts")->Arg(1)->Arg(10);

void decode_erase(benchmark::State &state)
{
    const QByteArray report = bytes(erase_report(static_cast<int>(state.range(0))));
    for (auto _ : state) {
        ZorvicHardware::EraseEvent contacts;
        ZorvicHardware::getEraseData(report, contacts);
        benchmark::DoNotOptimize(contacts);
    }
}
BENCHMARK(decode_erase)->ArgName("contacts")->Arg(1)->Arg(10);

void decode_touch_status(benchmark::State &state)
{
    const QByteArray report = bytes(boardsim::touchStatusReport({1, 2, 3, 4, 5, 6}));
    for (auto _ : state) {
        ZorvicHardware::TouchStatus status;
        ZorvicHardware::getTouchStatusData(report, status);
        benchmark::DoNotOptimize(status);
    }
}
BENCHMARK(decode_touch_status);

/// A board manager with a widget of interest, as in the program; all contacts are over the widget.
struct Board
{
    Board()
    {
        widget.setGeometry(0, 0, 800, 800);
        widget.show();
        hardware.setWidgetOfInterest(&widget);
    }

    QWidget widget;
    ZorvicHardware hardware{nullptr};
};

void pre_process_pen(benchmark::State &state)
{
    Board board;
    ZorvicHardware::PenEvent event;
    ZorvicHardware::getPenData(bytes(pen_report()), event);
    for (auto _ : state) {
        if (board.hardware.preProcessPenEvent(event)) {
            state.SkipWithError("the pen is not over the widget");
            return;
        }
    }
}
BENCHMARK(pre_process_pen);

void pre_process_touch(benchmark::State &state)
{
    Board board;
    ZorvicHardware::TouchEvent contacts;
    ZorvicHardware::getTouchData(bytes(touch_report(static_cast<int>(state.range(0)))), contacts);
    for (auto _ : state) {
        if (board.hardware.preProcessTouchEvent(contacts).size() != contacts.size()) {
            state.SkipWithError("the touches are not over the widget");
            return;
        }
    }
}
BENCHMARK(pre_process_touch)->ArgName("contacts")->Arg(1)->Arg(10);

/// Measures the driver's callback from end to end, with a receiver on another thread.
void packet_callback(benchmark::State &state, bool asleep)
{
    Board board;
    Receiver receiver;
    QObject::connect(&board.hardware, &ZorvicHardware::penEvent, &receiver, [&receiver] { receiver.take(); });
    const boardsim::Bytes reports[] = {pen_report(middle), pen_report(middle + 100)};
    int next = 0;
    measure_sending(state, receiver, asleep, [&] {
        const boardsim::Bytes &report = reports[++next % 2];
        ZorvicHardware::processPacketCallback(1, report.data(), static_cast<unsigned int>(report.size()),
                                              &board.hardware);
    });
}
BENCHMARK_CAPTURE(packet_callback, gui_thread_asleep, true)->Iterations(20)->UseManualTime();
BENCHMARK_CAPTURE(packet_callback, gui_thread_awake, false)->Iterations(200)->UseManualTime();

/// The floor of the callback.
void empty_queued_call(benchmark::State &state, bool asleep)
{
    Receiver receiver;
    measure_sending(state, receiver, asleep, [&] {
        QMetaObject::invokeMethod(
            &receiver, [&receiver] { receiver.take(); }, Qt::QueuedConnection);
    });
}
BENCHMARK_CAPTURE(empty_queued_call, gui_thread_asleep, true)->Iterations(20)->UseManualTime();
BENCHMARK_CAPTURE(empty_queued_call, gui_thread_awake, false)->Iterations(200)->UseManualTime();

} // namespace
