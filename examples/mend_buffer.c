/* Mends a file in memory: what comes in on standard input goes out clean on standard output. */
#include <Lib_DICOM_Mend/dicom_mend.h>

#include <stdio.h>

int main(void)
{
    static unsigned char in[64 << 20];
    const size_t size = fread(in, 1, sizeof in, stdin);
    unsigned char* out = NULL;
    size_t out_size = 0;
    dicom_mend_session* const session = dicom_mend_session_new();
    const dicom_mend_status status = dicom_mend_mend_buffer(session, in, size, &out, &out_size);
    const dicom_mend_finding* finding = dicom_mend_first_finding(session);
    for (; finding != NULL; finding = dicom_mend_next_finding(session, finding)) {
        fprintf(stderr, "%s: %s: %s\n", dicom_mend_finding_path(finding),
                dicom_mend_finding_kind(finding), dicom_mend_finding_message(finding));
    }
    if (status == DICOM_MEND_OK) {
        fwrite(out, 1, out_size, stdout);
    } else {
        fprintf(stderr, "%s\n", dicom_mend_last_error(session));
    }
    dicom_mend_free(out);
    dicom_mend_session_free(session);
    return status == DICOM_MEND_OK ? 0 : 2;
}
