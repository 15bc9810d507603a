// A scatter object that a view evaluates, and the builds that this takes.
#pragma once

#include "Dravin/build/evaluation.h"
#include "tests/Dravin/build/scatter_fixture.h"

class EvaluationFixture : public ScatterFixture {
protected:
    void SetUp() override {
        ScatterFixture::SetUp();
        host.SetCurrentScene(&scene);
        Evaluate();
    }
    // What a view does: the result at time t is asked for.
    void Evaluate(TimeValue t = 0) { node->EvalWorldState(t); }
    // Builds that the next evaluations take: at time 0, and once more.
    int BuildsOfEvaluation() {
        uint64_t before = object->Build().BuildCounter();
        Evaluate();
        Evaluate();
        return int(uint64_t(object->Build().BuildCounter()) - before);
    }
    // Whether the last evaluation distributed.
    bool Distributes() {
        log.clear();
        Evaluate();
        return Logged("BuildItemArray");
    }
};
