// Everything that is changed in a data set, whatever becomes of it: check and mend share it, so that
// both find the same faults in the same words.
#ifndef LIB_MEND_HEAL_H
#define LIB_MEND_HEAL_H

#include "mend/interface/options.h"
#include "mend/reading/data_set.h"

namespace lib_mend {

/**
 * Heals a data set that was read: VRs, values, order, pixel data and the values of group 0002. Every
 * change is reported, and so is what is wrong but stays. What only an encoding of the output asks
 * for is left to the writing. A data set that was healed before stays as it is. Throws
 * std::bad_alloc.
 */
void Heal(Data_Set& set, const Heal_Options& options, Findings& findings);

}  // namespace lib_mend

#endif
