;;; lmx_resources: the module's English texts, by key.
;;;
;;; Every text that Lumesh shows is looked up by keyword with GET-RESOURCE.
;;; Keys are case-insensitive; odd spellings (:msk-unknown-error,
;;; :msg-file_unknown-format) are the keys the code asks for and must stay.
;;; Texts with ~A are FORMAT control strings; no other text may hold a tilde.

(in-package "LUMESH")

;; Module core: module controller, ribbon tab, command groups, customization
(register-module-resource
  :module-title "Lumesh"
  :extension-modules-page-title "Extension Modules"
  :norvex-cmd-group-title "Extensions"
  :help-cmd-group-title "Help"
  :mesh-tools-cmd-group-title "Mesh Tools"
  :factory-customization-not-found "The factory customization file '~A' is missing.")

;; Commands: titles, descriptions (tool tips) and image base names
(register-module-resource
  :settings-cmd-title "Settings"
  :settings-cmd-description "Set the default options for importing mesh data."
  :settings-cmd-image "lmx_settings"
  :display-doc-cmd-description "Open the Lumesh help pages."
  :display-doc-cmd-image "lmx_help"
  :module-about-cmd-title "About Lumesh"
  :module-about-cmd-description "Show the version, build date and configuration of Lumesh."
  :module-about-cmd-image "lmx_about"
  :mesh-quality-cmd-title "Measure Mesh Quality"
  :mesh-quality-cmd-description "Measure the deviation of a mesh part from its CAD part and show it in color."
  :mesh-quality-cmd-image "lmx_mesh_quality"
  :focus-region-cmd-title "Focus Study Region"
  :focus-region-cmd-description "Examine a mesh part: focus on a region of its quality study, or align it with its CAD part."
  :focus-region-cmd-image "lmx_focus_region"
  :mate-align-cmd-title "Align Mesh Part"
  :mate-align-cmd-image "lmx_mate_align")

;; Settings dialog (LMX_SETTINGS)
(register-module-resource
  :recognition-precision-title "Recog. Precision"
  :recognition-precision-prompt "Enter the default precision of surface recognition in mm (at most 0.1)."
  :lightweight-title "Lightweight"
  :lightweight-prompt "Enable (:ON) or disable (:OFF) loading meshes as lightweight parts by default."
  :plane-recog-title "Recog. Planes"
  :plane-recog-prompt "Enable (:ON) or disable (:OFF) recognition of planar regions by default."
  :cylinder-recog-title "Recog. Cylinders"
  :cylinder-recog-prompt "Enable (:ON) or disable (:OFF) recognition of cylindrical regions by default."
  :merge-title "Merge"
  :merge-prompt "Enable (:ON) or disable (:OFF) removal of mergeable edges after recognition by default."
  :face-limit-title "Face Limit"
  :face-limit-prompt "Enter the facet count from which an import always recognizes planes to reduce the data."
  :reset-var-title "Reset to Defaults")

;; Load dialog (LOAD_MANUFACTURING_DATA)
(register-module-resource
  :3mf-import-failed "The mesh data could not be imported.")

;; Save dialog (SAVE_3MF_MODEL)
(register-module-resource
  :save-3mf-dialog-title "Save 3MF Model"
  :3mf-filetype-title "3MF Model"
  :3mf-filename-var-prompt "Enter the name of the 3MF file to write."
  :3mf-objects-var-prompt "Select the parts and assemblies to save.")

;; Import feature and its report (mesh parameters of an imported part)
(register-module-resource
  :mesh-feature-name "Mesh Import"
  :mesh-feature-report-title "Mesh Parameters"
  :mesh-feature-report-facet-count "# Facets"
  :mesh-feature-report-face-count "# Faces"
  :mesh-feature-show-cmd-title "Show Mesh Parameters")

;; Recognize faces and remove recognition dialogs: their texts are in the dialogs.

;; Study feature and its report
(register-module-resource
  :study-feature-name "Quality Study"
  :study-report-title "Mesh Quality Study"
  :study-feature-show-cmd-title "Show Study Parameters"
  :study-error-facet-count-title "# Error Facets"
  :study-warning-facet-count-title "# Warning Facets"
  :study-unassigned-facet-count-title "# Unassigned Facets"
  :study-unassigned-face-count-title "# Unassigned Faces"
  :study-schema-version-title "Schema Version")

;; Mesh quality dialog (LMX_MEASURE_MESH_QUALITY); some titles also head the study report
(register-module-resource
  :mesh-quality-model-title "CAD Part"
  :mesh-quality-model-prompt "Select the CAD part that the mesh was made from."
  :mesh-quality-model-sysid-title "CAD Part ID"
  :mesh-quality-mesh-part-title "Mesh Part"
  :mesh-quality-mesh-part-prompt "Select the imported mesh part to measure."
  :mesh-quality-measurement-params-section-title "Tolerances"
  :mesh-quality-warning-tolerance-title "Warning Tolerance"
  :mesh-quality-warning-tolerance-prompt "Facets that deviate more than the warning tolerance are shown in the warning color."
  :mesh-quality-error-tolerance-title "Error Tolerance"
  :mesh-quality-error-color-prompt "Facets that deviate more than the error tolerance are shown in the error color."
  :mesh-quality-mesh-colors-section-title "Mesh Colors"
  :mesh-quality-warning-color-title "Warning Color"
  :mesh-quality-error-color-title "Error Color"
  :mesh-quality-orphaned-color-title "Unassigned Facet Color"
  :mesh-quality-orphaned-color-prompt "Pick the color of facets that match no face of the CAD part."
  :mesh-quality-model-colors-section-title "Model Face Colors"
  :mesh-quality-model-faces-color-title "Model Face Color"
  :mesh-quality-model-faces-color-prompt "Pick the color of the CAD faces that have deviating facets."
  :mesh-quality-orphaned-faces-color-title "Unassigned Face Color"
  :mesh-quality-orphaned-faces-color-prompt "Pick the color of CAD faces that no facet matches."
  :mesh-quality-not-a-cad-part-error "The part is a mesh part. Select a CAD part."
  :mesh-quality-not-a-mesh-part-error "The part is not an imported mesh part.")

;; Quality study: names of the study's container, assemblies and parts
(register-module-resource
  :mesh-quality-study-fmt "Study-~A-"
  :mesh-quality-measurements-assy-name "Measurements"
  :mesh-quality-measurement-assy-name "Measurement"
  :mesh-quality-model-faceset-name "Model_Face"
  :mesh-quality-error-assy-name "Errors"
  :mesh-quality-error-part-name "Error"
  :mesh-quality-warning-assy-name "Warnings"
  :mesh-quality-warning-part-name "Warning"
  :mesh-quality-unassigned-faces-assy-name "Unassigned_Faces"
  :mesh-quality-unassigned-faces-part-name "Faces"
  :mesh-quality-unassigned-facets-assy-name "Unassigned_Facets"
  :mesh-quality-unassigned-facets-part-name "Facets")

;; Measurement browser: table titles and column titles
(register-module-resource
  :measurement-browser-errors-dtab-title "Measurements"
  :measurement-browser-dtab-title-fmt "Measurements of ~A"
  :measurement-browser-name-col-title "Name"
  :measurement-browser-path-col-title "Path"
  :measurement-browser-errors-col-title "Errors"
  :measurement-browser-warnings-col-title "Warnings"
  :measurement-browser-error-area-col-title "Error Area"
  :measurement-browser-warning-area-col-title "Warning Area"
  :measurement-browser-max-distance-col-title "Max. Deviation"
  :measurement-browser-selected-col-title "Selected"
  :measurement-browser-error-parts-col-title "Error Parts"
  :measurement-browser-warning-parts-col-title "Warning Parts"
  :details-browser-name-col-title "Name"
  :details-browser-path-col-title "Path"
  :details-browser-max-distance-col-title "Max. Deviation"
  :details-browser-area-col-title "Area")

;; Focus study region dialog (LMX_FOCUS_STUDY_REGION)
(register-module-resource
  :focus-region-study-title "Study"
  :focus-region-study-prompt "Select a mesh quality study."
  :focus-region-show-error-facets-title "Error Facets"
  :focus-region-show-warning-facets-title "Warning Facets"
  :focus-region-show-mesh-title "Mesh"
  :focus-region-show-faces-title "Model Faces"
  :focus-region-show-source-model-title "CAD Part"
  :focus-region-show-option-solid "Solid"
  :focus-region-show-option-transparent "Transparent"
  :focus-region-show-option-hide "Hidden"
  :focus-region-show-option-prompt "Choose how to show these objects."
  :focus-region-xface-title "Template Face"
  :focus-region-geometry-type-title "Geometry Type"
  :measurement-browser-open-title "Browse Results"
  :focus-region-clear-filter-title "Clear Filter"
  :focus-region-ref-obj-title "Focus Objects"
  :focus-region-ref-obj-prompt "Select the parts or assemblies that define the region."
  :focus-region-size-title "Region Size"
  :focus-region-size-prompt "Set the size of the region: 1 fits the focus objects, 100 takes the whole study."
  :focus-region-show-box-title "Show Box"
  :focus-region-reapply-box-title "Reapply Box"
  :focus-region-clear-box-title "Clear Box"
  :focus-region-type-error "The object does not belong to a mesh quality study."
  :focus-region-schema-version-error-fmt "The study does not fit this version of Lumesh. Only studies of major version ~A can be used."
  :focus-region-member-error-fmt "The object ~A belongs to another study.")

;; Errors of native code
(register-module-resource
  :msg-cancelled "The operation was cancelled."
  :msg-face-not-facet "The face is not a facet of an imported mesh."
  :msk-unknown-error "An unexpected error occurred."
  :msg-cannot-open-file "The file cannot be opened."
  :msg-file_unknown-format "The file is not a valid STL file."
  :msg-face-mesh-boundary-incomplete "The facets of the face do not form a closed boundary."
  :msg-face-mesh-generation-unknown-error "The facets of the face could not be generated."
  :msg-no-mesh-data "The file holds no mesh data."
  :msg-no-faces-built "No face could be built from the mesh: the recognition precision is coarser than the mesh itself.")
