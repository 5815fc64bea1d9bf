#include "resources/ProgramState.h"

namespace quvo {

namespace {
ProgramState& instance()
{
    static ProgramState state;
    return state;
}
} // namespace

ProgramState& programState()
{
    return instance();
}

void resetProgramState()
{
    instance() = ProgramState{};
}

} // namespace quvo
