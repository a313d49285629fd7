#include "orvo/variant/variant.h"

namespace orvo {
namespace variant {

BaseVariantContainer::BaseVariantContainer() { IsArray(false); }

BaseVariantContainer::BaseVariantContainer(Variant const& other) : Variant(other) {}

BaseVariantContainer::~BaseVariantContainer() = default;

// Message classes normalise their own fields and then end the chain here;
// the container itself has no fields.
bool BaseVariantContainer::NormalizeFields() { return true; }

}  // namespace variant
}  // namespace orvo
