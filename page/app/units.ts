/** What numbers count, as PS3.3 says in the descriptions of their attributes. */
const BY_UNIT: Record<string, string> = {
    mm: `SliceThickness SpacingBetweenSlices PixelSpacing ImagerPixelSpacing SliceLocation
    ImagePositionPatient ReconstructionDiameter DataCollectionDiameter DistanceSourceToDetector
    DistanceSourceToPatient DistanceSourceToEntrance TableHeight NominalScannedPixelSpacing
    GantryMotionCorrection FieldOfViewDimensions BodyPartThickness FocalSpots SliceVector
    GridPeriod SourceToReferenceObjectDistance TotalCollimationWidth SingleCollimationWidth
    TablePosition IsocenterPosition DoseGridScalingOrigin SurfaceEntryPoint`,
    kV: "KVP",
    mA: "XRayTubeCurrent AverageXRayTubeCurrent",
    µA: "XRayTubeCurrentInuA",
    ms: `ExposureTime RepetitionTime EchoTime InversionTime FrameTime TriggerTime
    TemporalResolution FrameReferenceTime ActualFrameDuration`,
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
    "s⁻¹": "DopplerSampleVolumeRate",
    "frames/s": "CineRate RecommendedDisplayFrameRate",
    bpm: "HeartRate",
    "mm/s": "TableSpeed",
    mGy: "CTDIvol EntranceDoseInmGy",
    Bq: "RadionuclideTotalDose",
    s: "RadionuclideHalfLife DecayFactorTime",
    ml: "ContrastBolusVolume",
    bits: "BitsAllocated BitsStored",
    MU: "BeamMeterset ControlPointMeterset",
    cGy: "OrganDose",
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
