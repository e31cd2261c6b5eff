// Compares the declared character sets with the bytes of every text.
//
//   (0008,0005)                 bytes of the texts                      done
//   misspelt term               -                                       respelt
//   unknown term                -                                       kept, said
//   a set that stands alone     -                                       kept, said
//     beside others
//   none, or single-byte        UTF-8 that would be unlikely otherwise  ISO_IR 192 is declared
//   any                         no characters of the declared sets      kept, said
//
// An item with a declaration of its own and what is below it are looked at by themselves. What
// Original Attributes hold of former values keeps the declaration that it has.
#ifndef LIB_MEND_CHARACTER_SETS_H
#define LIB_MEND_CHARACTER_SETS_H

#include "mend/healing/character_terms.h"
#include "mend/healing/texts.h"
#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Heals the declarations of character sets. The VRs of the elements have to be settled before, and
 * values are to be healed behind it. With `options.charset` that is declared, and with
 * `options.to_utf8` the texts are converted: all of them without loss, or none.
 */
void Heal_Character_Sets(Data_Set& set, const Heal_Options& options, Findings& findings,
                         const Text_Contents& contents = {});

}  // namespace lib_mend

#endif
