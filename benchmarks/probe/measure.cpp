#include "measure.h"

using namespace latency;

void measure(Program &program, Measurement &measurement, const Walk &walk, Result &result,
             const std::string &suffix)
{
    const double share = measurement.restingShare();
    const Nanoseconds start = now();
    const Nanoseconds processor = program.processorTime();
    std::vector<double> to_pixel;
    std::vector<double> inside;
    for (const Sample &sample : measurement.run(walk)) {
        to_pixel.push_back(static_cast<double>(sample.toPixel) / millisecond);
        inside.push_back(static_cast<double>(sample.inside) / 1000);
    }
    const auto taken = static_cast<double>(program.processorTime() - processor);
    const double own = taken - share * static_cast<double>(now() - start);
    const auto reports = static_cast<double>(walk.size());
    result["samples"]["to pixel [ms]" + suffix] = to_pixel;
    result["samples"]["inside callback [µs]" + suffix] = inside;
    result["values"]["processor time per report [ms]" + suffix] = own / reports / millisecond;
    result["values"]["processor time per report, resting ticks included [ms]" + suffix] =
        taken / reports / millisecond;
}
