// Messages that nodes of a group pass on: who refers to the head shows the members too.
#pragma once

#include "host/params/reference.h"

class INode;

// Tells the dependents of the outermost head above `member` that something of its group changed or
// moved. Nothing for other messages, and for nodes in no group.
void TellGroup(INode& member, RefMessage message);
