#include "engine/models/model.hpp"

namespace tessara {

std::string_view model_name(ModelKind kind) {
    switch (kind) {
    case ModelKind::Pure:
        return "PURE";
    case ModelKind::IDMX:
        return "IDMX";
    case ModelKind::RKMP:
        return "RKMP";
    case ModelKind::RKMPM:
        return "RKMPM";
    case ModelKind::QKTO:
        return "QKTO";
    case ModelKind::SUBL:
        return "SUBL";
    case ModelKind::SUBLM:
        return "SUBLM";
    case ModelKind::SUBM:
        return "SUBM";
    case ModelKind::SUBI:
        return "SUBI";
    case ModelKind::SUBG:
        return "SUBG";
    case ModelKind::SUBQ:
        return "SUBQ";
    }
    return "";
}

} // namespace tessara
