/** Whether an image may show who somebody is: where nothing says that it does not, it may. */
import type { Dataset } from "dicom-mend";

const STORAGE = "1.2.840.10008.5.1.4.1.1.";
/**
 * Classes of machines that draw no texts into what they take (PS3.4 B.5): radiographs, CT, MR, angiography, nuclear
 * medicine, PET, radiotherapy. Ultrasound, endoscopy, photographs and captured screens are full of them.
 */
const WITHOUT_TEXTS = [
    ..."1 1.1 1.1.1 1.2 1.2.1 1.3 1.3.1 2 2.1 2.2 4 4.1 4.3 4.4 12.1 12.1.1 12.2 12.2.1".split(" "),
    ..."13.1.1 13.1.2 13.1.3 13.1.4 13.1.5 20 128 128.1 130 481.1 481.2 481.23".split(" "),
].map((end) => STORAGE + end);
const MODALITIES = "CR CT DX IO MG MR NM PT PX RF RG RTDOSE RTIMAGE XA".split(" ");
/** Values of Image Type of what was made of a screen, or of other images. */
const MADE = /SECONDARY|SCREEN|CAPTURE|SAVE|PASTED|POSDISP|REPORT|LABEL|OVERVIEW/;

export function mayIdentify(dataset: Dataset): boolean {
    const text = (path: string) => {
        const element = dataset.find(path);
        return element ? dataset.text(element).trim().toUpperCase() : "";
    };
    const burned = text("0028,0301");
    const features = text("0028,0302");
    if ((burned !== "" && burned !== "NO") || (features !== "" && features !== "NO")) {
        return true;
    }
    const isPlain =
        WITHOUT_TEXTS.includes(text("0008,0016")) &&
        MODALITIES.includes(text("0008,0060")) &&
        !MADE.test(text("0008,0008"));
    return burned !== "NO" && !isPlain;
}
