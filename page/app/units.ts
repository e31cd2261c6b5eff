/** What numbers count, as PS3.3 says in the descriptions of their attributes. */
const BY_UNIT: Record<string, string> = {
    mm: `SliceThickness SpacingBetweenSlices PixelSpacing ImagerPixelSpacing SliceLocation
    ImagePositionPatient ReconstructionDiameter DataCollectionDiameter DistanceSourceToDetector
    DistanceSourceToPatient DistanceSourceToEntrance TableHeight NominalScannedPixelSpacing
    FieldOfViewDimensions BodyPartThickness FocalSpots TotalCollimationWidth
    SingleCollimationWidth TablePosition IsocenterPosition SurfaceEntryPoint`,
    kV: "KVP",
    mA: "XRayTubeCurrent",
    µA: "XRayTubeCurrentInuA",
    ms: `ExposureTime RepetitionTime EchoTime InversionTime FrameTime TriggerTime
    FrameReferenceTime ActualFrameDuration`,
    µs: "ExposureTimeInuS",
    mAs: "Exposure",
    µAs: "ExposureInuAs",
    kW: "GeneratorPower",
    T: "MagneticFieldStrength",
    MHz: "ImagingFrequency TransmitterFrequency",
    "Hz/pixel": "PixelBandwidth",
    "°": `FlipAngle GantryDetectorTilt PositionerPrimaryAngle PositionerSecondaryAngle
    GantryAngle BeamLimitingDeviceAngle PatientSupportAngle TableTopPitchAngle`,
    kg: "PatientWeight",
    m: "PatientSize",
    "frames/s": "CineRate RecommendedDisplayFrameRate",
    bpm: "HeartRate",
    "mm/s": "TableSpeed",
    mGy: "CTDIvol EntranceDoseInmGy",
    Bq: "RadionuclideTotalDose",
    s: "RadionuclideHalfLife",
    ml: "ContrastBolusVolume",
    bits: "BitsAllocated BitsStored",
};

const UNITS = new Map(
    Object.entries(BY_UNIT).flatMap(([unit, keywords]) =>
        keywords.split(/\s+/).map((keyword): [string, string] => [keyword, unit]),
    ),
);

/** The unit of an attribute by its keyword; "" where it has none, or where it is not known here. */
export function unitOf(keyword: string): string {
    return UNITS.get(keyword) ?? "";
}
