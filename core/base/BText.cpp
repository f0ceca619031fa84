#include "core/base/BText.h"

// Makes the members of `BText` for both string classes. They stand in sections, one for each theme,
// and are compiled here once: a header that everything includes need not know how a text is
// searched, and the library alone exports them. One template for both classes, so that neither has
// a fault that the other has not; `std::basic_string` is not underneath, because its copies are
// deep, and a copy of ours costs a pointer and a count whatever the text.

#include "core/base/BString.h"
#include "core/base/WString.h"
#include "core/base/text/Characters.h"
#include "core/base/text/Compare.h"
#include "core/base/text/Escapes.h"
#include "core/base/text/Files.h"
#include "core/base/text/Format.h"
#include "core/base/text/Hash.h"
#include "core/base/text/Numbers.h"
#include "core/base/text/Pieces.h"
#include "core/base/text/Replace.h"
#include "core/base/text/Search.h"
#include "core/base/text/Storage.h"
#include "core/base/text/Trim.h"

template class BText<WString>;
template class BText<BString>;
