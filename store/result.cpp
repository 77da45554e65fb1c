#include "store/result.h"

QByteArray resultKindName(ResultKind kind)
{
    switch (kind) {
    case ResultKind::Value:
        return "value";
    case ResultKind::ValueArray:
        return "valueArray";
    case ResultKind::Event:
        return "event";
    case ResultKind::EventList:
        return "eventList";
    case ResultKind::Trend:
        return "trend";
    }
    return QByteArray();
}
