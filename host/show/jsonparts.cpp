#include "host/show/jsonparts.h"

namespace Host
{

void WriteQuaternion(ZJsonWriter& json, const SQuaternion& q)
{
    json.Numbers({q.x, q.y, q.z, q.w});
}

void WriteRigidTransform(ZJsonWriter& json, const SQV& transform)
{
    json.Key("r");
    WriteQuaternion(json, transform.rotation);
    json.Key("t");
    json.Numbers({transform.translation.x, transform.translation.y, transform.translation.z});
}

void WriteMessages(ZJsonWriter& json, const std::vector<SMessage>& messages)
{
    json.ListField("messages", messages,
                   [&json](const SMessage& message)
                   {
                       json.Object(
                           [&]
                           {
                               json.TextField("severity", NameOf(message.eSeverity));
                               json.TextField("text", message.sText);
                           });
                   });
}

} // namespace Host
