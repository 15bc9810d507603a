#include "Dravin/tools/tools_utility.h"

namespace {

const ParamBlockDesc2& ToolsBlock() {
#define PARAM(symbol, id, name, type, ...) ParamDef(id, name, ParamType::k##type) __VA_ARGS__,
    static const ParamBlockDesc2 block{0,
                                       "TDtoolsParams",
                                       "Tools",
                                       0,
                                       true,
                                       {
#include "Dravin/tools/tools_params.inc"
                                       }};
#undef PARAM
    return block;
}

}  // namespace

TDtools::TDtools() : WithParams(IParamBlock2::Create(ToolsBlock())) {}

std::shared_ptr<ReferenceTarget> TDtools::Clone(CloneMap& map) const {
    auto copy = std::make_shared<TDtools>();
    CopyBlock(*copy, map);
    return copy;
}
