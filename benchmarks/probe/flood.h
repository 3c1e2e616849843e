#pragma once

#include "cases.h"
#include "latency/contacts.h"

#include <vector>

/// The way of some contacts, and the pixels that prove that they have drawn it.
struct Plan
{
    latency::Walk walk;
    std::vector<latency::Point> proofs;
    std::vector<latency::Point> last_proofs; ///< of the walk's last step
};

/// Contacts that move all the time.
struct Flood
{
    latency::Contacts contacts;
    int rate = 0; ///< steps a second
    bool tags = false;
};

/// Walks the contacts as planned and measures the ticks, what a step costs, and whether each is drawn.
Result run_flood(const Setting &setting, const Flood &flood, const Plan &plan);
