/**
 * @file Lib_DICOM.h
 * Public interface of Lib_DICOM: reads, checks, mends, completes and writes DICOM data sets.
 */
#ifndef LIB_DICOM_LIB_DICOM_H
#define LIB_DICOM_LIB_DICOM_H

#include <Lib_DICOM/add.h>
#include <Lib_DICOM/attributes.h>
#include <Lib_DICOM/codes.h>
#include <Lib_DICOM/definitions.h>
#include <Lib_DICOM/dictionary.h>
#include <Lib_DICOM/frame.h>
#include <Lib_DICOM/read.h>
#include <Lib_DICOM/rules.h>
#include <Lib_DICOM/values.h>
#include <Lib_DICOM/write.h>

#endif
