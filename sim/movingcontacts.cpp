#include "movingcontacts.h"

#include <cstdint>
#include <limits>

namespace boardsim {

namespace {

constexpr double widestAngle = 36'000; // degrees, a hundred turns

Point pointOf(const std::array<double, 2> &pair)
{
    return {pair[0], pair[1]};
}

Path lineOf(Fields &fields)
{
    std::vector<Point> points;
    for (const Json *const item : fields.list("line", 1))
        points.push_back(pointOf(fields.pairFrom(*item, "a point of \"line\"", 0, maxPosition)));
    if (points.empty())
        points.emplace_back();
    const double curve = fields.has("curve") ? fields.number("curve", -maxPosition, maxPosition) : 0;
    const Point &from = points.front();
    const Point &to = points.back();
    if (curve != 0 && from.x == to.x && from.y == to.y)
        fields.fail("\"curve\" needs a line whose ends differ");
    return linePath(std::move(points), curve);
}

Path arcOf(Fields &fields)
{
    Fields circle(fields.object("circle"), fields);
    const Arc arc{
        pointOf(circle.pair("centre", 0, maxPosition)), pointOf(circle.pair("radius", 0, maxPosition)),
        circle.number("from", -widestAngle, widestAngle), circle.number("to", -widestAngle, widestAngle)};
    if (arc.centre.x < arc.radius.x || arc.centre.x + arc.radius.x > maxPosition
        || arc.centre.y < arc.radius.y || arc.centre.y + arc.radius.y > maxPosition)
        circle.fail(R"("circle" leaves the board's range of 0 to )" + std::to_string(maxPosition));
    circle.refuseOthers();
    return arc;
}

Path pathOf(Fields &fields)
{
    if (fields.has("line") == fields.has("circle"))
        fields.fail(R"(a moving contact needs either "line" or "circle")");
    return fields.has("circle") ? arcOf(fields) : lineOf(fields);
}

void readNoise(Fields &fields, Faults &faults)
{
    if (fields.has("noise"))
        faults.noise = fields.number("noise", 0, maxPosition);
    if (!fields.has("seed"))
        return;
    constexpr std::int64_t highestSeed = std::numeric_limits<std::uint32_t>::max();
    faults.seed = static_cast<std::uint32_t>(fields.integer("seed", 0, highestSeed));
    if (!fields.has("noise"))
        fields.fail(R"("seed" needs "noise")");
}

std::vector<Dropout> dropoutsOf(Fields &fields)
{
    std::vector<Dropout> dropouts;
    for (const Json *const item : fields.list("dropouts", 1)) {
        Fields dropout(*item, fields);
        dropouts.push_back({dropout.number("after", 0, 1), dropout.integer("time", 1, longestTime)});
        dropout.refuseOthers();
    }
    return dropouts;
}

Swap swapOf(Fields &fields, int id)
{
    Fields object(fields.object("swap"), fields);
    const Swap swap{object.number("after", 0, 1), object.smallInteger("id", 0, maxContactId)};
    if (swap.id == id)
        object.fail(R"("swap" needs another "id" than the contact's)");
    object.refuseOthers();
    return swap;
}

Faults faultsOf(Fields &fields)
{
    Faults faults;
    readNoise(fields, faults);
    if (fields.has("offset"))
        faults.offset = pointOf(fields.pair("offset", -maxPosition, maxPosition));
    if (fields.has("dropouts"))
        faults.dropouts = dropoutsOf(fields);
    return faults;
}

void readPen(Fields &fields, MovingContact &contact)
{
    contact.kind = MovingContact::Kind::pen;
    contact.id = fields.smallInteger("id", 0, maxPen);
    contact.tip = fields.flag("tip");
    contact.button = fields.flag("button");
    contact.bit2 = fields.flagOr("bit2", false);
    contact.faults = faultsOf(fields);
    if (!contact.tip && !contact.faults.dropouts.empty())
        fields.fail(R"("dropouts" of a pen need its "tip" to be true)");
}

void readTouchOrEraser(Fields &fields, const std::string &kind, MovingContact &contact)
{
    contact.id = fields.smallInteger("id", 0, maxContactId);
    if (kind == "touch") {
        contact.kind = MovingContact::Kind::touch;
        contact.extent = fields.smallInteger("extent", 0, maxPosition);
    } else if (kind == "erase") {
        contact.kind = MovingContact::Kind::erase;
        contact.width = fields.smallInteger("width", 0, maxPosition);
        contact.height = fields.smallInteger("height", 0, maxPosition);
    } else {
        fields.fail("unknown kind \"" + kind + "\"");
    }
    contact.faults = faultsOf(fields);
    if (fields.has("swap"))
        contact.faults.swap = swapOf(fields, contact.id);
}

} // namespace

MovingContact readMovingContact(Fields &fields)
{
    MovingContact contact;
    const std::string kind = fields.text("kind", longestText);
    contact.path = pathOf(fields);
    if (kind == "pen")
        readPen(fields, contact);
    else
        readTouchOrEraser(fields, kind, contact);
    return contact;
}

} // namespace boardsim
