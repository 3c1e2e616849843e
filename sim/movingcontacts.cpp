#include "movingcontacts.h"

namespace boardsim {

namespace {

constexpr double widestAngle = 36'000; // degrees, a hundred turns

Point pointFrom(const Json &value, double highest, Fields &fields, const char *what)
{
    const auto isCoordinate = [highest](const Json &number) {
        return number.is_number() && number.get<double>() >= 0 && number.get<double>() <= highest;
    };
    if (value.is_array() && value.size() == 2 && isCoordinate(value[0]) && isCoordinate(value[1]))
        return {value[0].get<double>(), value[1].get<double>()};
    fields.fail(std::string(what) + " is not a pair of numbers from 0 to " + std::to_string(maxPosition));
    return {};
}

Path lineOf(Fields &fields)
{
    std::vector<Point> points;
    for (const Json *const item : fields.list("line", 1))
        points.push_back(pointFrom(*item, maxPosition, fields, "a point of \"line\""));
    if (points.empty())
        points.emplace_back();
    return linePath(std::move(points));
}

Path arcOf(Fields &fields)
{
    const Json &object = fields.object("circle");
    Fields circle(object, fields);
    const auto pair = [&](const char *name) {
        circle.list(name, 2);
        return circle.failed() ? Point() : pointFrom(object[name], maxPosition, circle, name);
    };
    const Arc arc{pair("centre"), pair("radius"), circle.number("from", -widestAngle, widestAngle),
                  circle.number("to", -widestAngle, widestAngle)};
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

} // namespace

MovingContact readMovingContact(Fields &fields)
{
    MovingContact contact;
    const std::string kind = fields.text("kind", longestText);
    contact.path = pathOf(fields);
    if (kind == "pen") {
        contact.kind = MovingContact::Kind::pen;
        contact.id = fields.smallInteger("id", 0, maxPen);
        contact.tip = fields.flag("tip");
        contact.button = fields.flag("button");
        contact.bit2 = fields.flagOr("bit2", false);
        return contact;
    }
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
    return contact;
}

} // namespace boardsim
