#include "Dravin/engine/build_status.h"

#include <algorithm>

namespace {

constexpr TRejectionRule kRejectionRules[] = {
    {"map", "by the distribution map", &TRejections::map},
    {"area", "by the areas", &TRejections::area},
    {"surface", "for want of a surface at their place", &TRejections::surface},
    {"altitude", "by the altitude limits", &TRejections::altitude},
    {"slope", "by the slope limits", &TRejections::slope},
    {"camera", "by the camera's view", &TRejections::camera},
    {"falloff", "by the density falloffs", &TRejections::falloff},
    {"effect", "by the effects", &TRejections::effect},
    {"collision", "by collisions", &TRejections::collision},
};

}  // namespace

int64_t TRejections::Total() const {
    int64_t total = 0;
    for (const TRejectionRule& rule : kRejectionRules) total += this->*rule.count;
    return total;
}

TRejections& TRejections::operator+=(const TRejections& other) {
    for (const TRejectionRule& rule : kRejectionRules) this->*rule.count += other.*rule.count;
    return *this;
}

std::span<const TRejectionRule> RejectionRules() { return kRejectionRules; }

void TBuildStatistics::Add(const TTaskCounts& counts) {
    clusterCounts.resize(std::max(clusterCounts.size(), counts.clusters.size()));
    for (size_t i = 0; i < counts.clusters.size(); ++i) clusterCounts[i] += counts.clusters[i];
    rejected += counts.rejected;
    deltas += counts.deltas;
    if (counts.lodSpan) lodSpan = counts.lodSpan;
}
