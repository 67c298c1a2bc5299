#pragma once

#include "host/module/job.h"
#include "host/text/jsonwriter.h"
#include "system/animation/animationrig.h"

#include <vector>

namespace Host
{

// What stands in the JSON of several commands.

void WriteQuaternion(ZJsonWriter& json, const SQuaternion& q);
/// Fields "r" and "t" of the object that is open.
void WriteRigidTransform(ZJsonWriter& json, const SQV& transform);
/// "messages":[{"severity","text"}]
void WriteMessages(ZJsonWriter& json, const std::vector<SMessage>& messages);

} // namespace Host
