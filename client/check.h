// The check of a whole file: what mending would find, without mending it.
#ifndef CLIENT_CHECK_H
#define CLIENT_CHECK_H

#include "client/data_set.h"

namespace dicom_client {

/**
 * Examines a data set that was read: VRs, values, order, groups, pixel data and group 0002. Values
 * stay as they are; records that occur twice and group lengths leave the lists.
 */
void Check(Data_Set& set, Findings& findings);

}  // namespace dicom_client

#endif
