#include "Dravin/geometry/probability_commands.h"

#include "Dravin/config/confirmation.h"
#include "Dravin/engine/geometry_choice.h"
#include "host/scene/host_context.h"

namespace {

std::vector<float> ReadProbabilities(TTreeSpecList& rows) {
    std::vector<float> probabilities;
    for (int i = 0; i < rows.Count(); ++i) {
        ParamValue value;
        rows.Get(TTreeSpecList::kProbability, i, 0, &value);
        probabilities.push_back(std::get<float>(value));
    }
    return probabilities;
}

bool WriteProbabilities(TTreeSpecList& rows, const std::vector<float>& probabilities,
                        const char* step) {
    if (probabilities == ReadProbabilities(rows)) return false;
    Hold& hold = HostContext::Current()->Undo();
    hold.Begin();
    for (int i = 0; i < int(probabilities.size()); ++i)
        rows.Set(TTreeSpecList::kProbability, i, 0, ParamValue(probabilities[size_t(i)]));
    hold.Accept(step);
    return true;
}

}  // namespace

bool NormaliseProbabilitiesCommand(TTreeSpecList& rows) {
    if (!IsConfirmed("Do you want to normalize all Probability values ?")) return false;
    return WriteProbabilities(rows, NormaliseProbabilities(ReadProbabilities(rows)),
                              "Normalize Probabilities");
}

bool RandomiseProbabilitiesCommand(TTreeSpecList& rows) {
    if (!IsConfirmed("Do you want to randomize all Probability values ?")) return false;
    return WriteProbabilities(rows, RandomiseProbabilities(size_t(rows.Count()), SharedGenerator()),
                              "Randomize Probabilities");
}
