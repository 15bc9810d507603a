// Which row of the geometry list an item shows.
//
// Three modes: by probability; by the row whose colour id is nearest to a map's colour; by
// clusters, where fractal noise splits the ground into patches that each show one colour group. In
// the last two, rows of one colour form a group in which probability decides again. All tables are
// built once before the distribution and only read by its threads.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Dravin/engine/specimen.h"
#include "common/nurandom/nurandom.h"

enum DiversityMode { kByProbability = 0, kByColorMap = 1, kByClusters = 2 };

struct TGeometrySettings {
    int mode = kByProbability;
    float noise = 0;  // fraction of items that fall back to probability (modes 1 and 2)
    float clusterSize = 20;
    float clusterOctaves = 1;  // 1 to 5
    float clusterEdge = 0;     // 0 sharp to 1 blurry
    uint32_t seed = 123456;
};

// Rows that an area allows, and the table over them.
struct TAreaGeometry {
    std::vector<uint8_t> allowed;         // one flag a row
    std::optional<TNuRandomTable> table;  // none: the object's own table
};

// The geometry subset text of an area ("3 17"): row ids, pieces below 1 dropped.
std::vector<int32_t> ParseSpecIds(std::string_view text);

class TGeometryChoice {
public:
    TGeometryChoice(const TGeometrySettings& settings, const std::vector<TSpecimen>& specimens);

    // All rows, by the object's own table.
    const TAreaGeometry& Unrestricted() const { return m_unrestricted; }
    // The rows with these ids. None when the text names no valid id: the area places no items.
    std::optional<TAreaGeometry> Restrict(std::string_view specIds) const;

    // A row of the object's own table for a uniform number in (0, 1).
    int32_t ByProbability(float g1) const { return int32_t(m_table->Sample(g1)); }
    // The row of an item. g: its three geometry random numbers; color: what the diversity map says
    // at the item (mode 1); position: where clusters are asked (mode 2); counts: of the caller's
    // task, one a cluster, raised when a cluster was chosen (empty: nobody counts).
    int32_t Assign(const TAreaGeometry& area, const Point3& g, const Color& color,
                   const Point3& position, std::span<int32_t> counts = {}) const;

    struct Cluster {
        int32_t row = 0;
        float weight = 0;
        float threshold = 0;  // noise level below which the cluster is taken
        int32_t group = -1;   // colour group it stands for
    };
    const std::vector<Cluster>& Clusters() const { return m_clusters; }
    // Index of the cluster at a position; jitter moves the edges.
    size_t ChooseCluster(const TAreaGeometry& area, const Point3& position, float jitter) const;

private:
    void MakeGroups(const std::vector<TSpecimen>& specimens);
    void MakeClusters();
    int32_t NearestRow(const TAreaGeometry& area, const Color& color) const;
    int32_t DrawInGroup(const TAreaGeometry& area, int32_t row, float g1) const;

    TGeometrySettings m_settings;
    std::vector<float> m_probabilities;
    std::vector<Color> m_colors;
    std::vector<int32_t> m_specIds;
    std::optional<TNuRandomTable> m_table;
    std::vector<TNuRandomTable> m_groupTables;
    std::vector<int32_t> m_groupOfRow;  // -1 without groups
    std::vector<Cluster> m_clusters;
    TAreaGeometry m_unrestricted;
};

// Inverse of the standard normal distribution by Acklam's rational approximation (2003), clamped to
// [-3, 3], as a noise level of mean 0.5 and standard deviation 1/6.
float NoiseLevelOfProbability(float u);
// Fractal sum of gradient noise around 0.5, clamped to [0, 1]; octaves may be fractional
// and are taken into [1, 5].
float FractalNoise(const Point3& q, float octaves);

// New probabilities that sum to 100; unchanged when the sum is not above 0.0001.
std::vector<float> NormaliseProbabilities(std::vector<float> probabilities);
// Whole percentages 1..100 drawn from the generator, one a row.
std::vector<float> RandomiseProbabilities(size_t numRows, TNuRandom& generator);
