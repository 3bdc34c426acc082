/** @file export.h
 *  Linkage of the exported functions. */
#ifndef LUMIPMI_EXPORT_H
#define LUMIPMI_EXPORT_H

#define LUMI_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define LUMI_BEGIN_DECLS extern "C" {
#define LUMI_END_DECLS }
#else
#define LUMI_BEGIN_DECLS
#define LUMI_END_DECLS
#endif

#endif
