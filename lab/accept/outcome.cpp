#include "accept/outcome.h"

#include <cmath>

namespace acceptance {

namespace {

using Json = nlohmann::ordered_json;

/// Board units are whole numbers to a board.
Json jsonOf(const Place &place)
{
    return {std::lround(place.x), std::lround(place.y)};
}

Json jsonOf(const StepOutcome &outcome)
{
    Json json{{"key", outcome.step->key},
              {"title", outcome.step->title},
              {"result", nameOf(outcome.result)},
              {"tries", outcome.tries},
              {"saw", outcome.findingForPrograms.lines},
              {"faults", outcome.findingForPrograms.faults}};
    json["figures"] = outcome.findingForPrograms.figures;
    return json;
}

Json jsonOf(const Finding &targets)
{
    Json json{{"advice", nullptr}};
    if (targets.calibration)
        json["advice"] = nameOf(targets.calibration->advice);
    json["touched"] = Json::array();
    for (const Touched &touched : targets.touched)
        json["touched"].push_back(
            {{"name", touched.name}, {"target", jsonOf(touched.target)}, {"at", jsonOf(touched.at)}});
    json["missed"] = targets.missed;
    return json;
}

} // namespace

Json jsonOf(const Outcome &outcome)
{
    Json json{{"verdict", nameOf(outcome.verdict())},
              {"unit", outcome.setting.scale.unit},
              {"right", outcome.count(Result::right)},
              {"wrong", outcome.count(Result::wrong)},
              {"skipped", outcome.count(Result::skipped)}};
    json["steps"] = Json::array();
    for (const StepOutcome &step : outcome.steps)
        json["steps"].push_back(jsonOf(step));
    if (const Finding *const targets = outcome.targets(lab::Audience::program))
        json["targets"] = jsonOf(*targets);
    return json;
}

} // namespace acceptance
