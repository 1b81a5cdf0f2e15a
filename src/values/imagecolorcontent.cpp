#include "values/imagecolorcontent.h"

namespace vorlen {

std::string toString(ImageColorContent content) {
    switch (content) {
    case GrayContent:
        return "Gray";
    case RedContent:
        return "Red";
    case GreenContent:
        return "Green";
    case BlueContent:
        return "Blue";
    case MixedContent:
        return "Mixed";
    case UndefinedContent:
        break;
    }
    return "Unknown";
}

} // namespace vorlen
