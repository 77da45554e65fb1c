<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES">
<context>
    <name>AverageBeatPainter</name>
    <message>
        <source>P %1</source>
        <translation>P %1</translation>
    </message>
    <message>
        <source>PR
%1</source>
        <translation>PR
%1</translation>
    </message>
    <message>
        <source>QRS
%1</source>
        <translation>QRS
%1</translation>
    </message>
    <message>
        <source>ST %1</source>
        <translation>ST %1</translation>
    </message>
    <message>
        <source>QT %1</source>
        <translation>QT %1</translation>
    </message>
    <message>
        <source>T %1</source>
        <translation>T %1</translation>
    </message>
    <message>
        <source>Tpf
%1</source>
        <translation>Tpf
%1</translation>
    </message>
    <message>
        <source>(QRS</source>
        <translation>(QRS</translation>
    </message>
    <message>
        <source>QRS)</source>
        <translation>QRS)</translation>
    </message>
    <message>
        <source>[RR %1]</source>
        <translation>[RR %1]</translation>
    </message>
</context>
<context>
    <name>BrowseStripPainter</name>
    <message>
        <source>ms</source>
        <translation>ms</translation>
    </message>
    <message>
        <source>mv</source>
        <translation>mV</translation>
    </message>
    <message>
        <source>mm</source>
        <translation>mm</translation>
    </message>
</context>
<context>
    <name>CardSignalFile</name>
    <message>
        <source>Cannot open file in memory card %1</source>
        <translation>No se puede abrir el archivo de la tarjeta de memoria %1</translation>
    </message>
    <message>
        <source>File in memory card %1 may be corrupted.
Please contact technical support.</source>
        <translation>El archivo de la tarjeta de memoria %1 puede estar dañado.
Póngase en contacto con el servicio técnico.</translation>
    </message>
    <message>
        <source>Invalid data offset for file %1</source>
        <translation>Desplazamiento de datos no válido en el archivo %1</translation>
    </message>
    <message>
        <source>Cannot open file %1</source>
        <translation>No se puede abrir el archivo %1</translation>
    </message>
    <message>
        <source>unsupported (file %1 is read only)</source>
        <translation>no admitido (el archivo %1 es de solo lectura)</translation>
    </message>
</context>
<context>
    <name>ConfigDialog</name>
    <message>
        <source>Configuration</source>
        <translation>Configuración</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Informe</translation>
    </message>
    <message>
        <source>Analysis</source>
        <translation>Análisis</translation>
    </message>
    <message>
        <source>Classification</source>
        <translation>Clasificación</translation>
    </message>
    <message>
        <source>Export reports</source>
        <translation>Exportar informes</translation>
    </message>
    <message>
        <source>Export studies</source>
        <translation>Exportar estudios</translation>
    </message>
    <message>
        <source>Report header</source>
        <translation>Encabezado del informe</translation>
    </message>
    <message>
        <source>Logo</source>
        <translation>Logotipo</translation>
    </message>
    <message>
        <source>[none]</source>
        <translation>[ninguno]</translation>
    </message>
    <message>
        <source>Change...</source>
        <translation>Cambiar...</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Quitar</translation>
    </message>
    <message>
        <source>Title</source>
        <translation>Título</translation>
    </message>
    <message>
        <source>Additional info</source>
        <translation>Información adicional</translation>
    </message>
    <message>
        <source>Rhythm events</source>
        <translation>Eventos de ritmo</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pausa</translation>
    </message>
    <message>
        <source>secs.</source>
        <translation>seg.</translation>
    </message>
    <message>
        <source>Tachycardia min.</source>
        <translation>Taquicardia mín.</translation>
    </message>
    <message>
        <source>bpm</source>
        <translation>lpm</translation>
    </message>
    <message>
        <source>Bradycardia max.</source>
        <translation>Bradicardia máx.</translation>
    </message>
    <message>
        <source>Duration min.</source>
        <translation>Duración mín.</translation>
    </message>
    <message>
        <source>QT interval</source>
        <translation>Intervalo QT</translation>
    </message>
    <message>
        <source>Correction</source>
        <translation>Corrección</translation>
    </message>
    <message>
        <source>Restore defaults</source>
        <translation>Restaurar valores predeterminados</translation>
    </message>
    <message>
        <source>Allowed beat types</source>
        <translation>Tipos de latido permitidos</translation>
    </message>
    <message>
        <source>Normal</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>Normal beats are always allowed.</source>
        <translation>Los latidos normales siempre están permitidos.</translation>
    </message>
    <message>
        <source>Ventricular</source>
        <translation>Ventricular</translation>
    </message>
    <message>
        <source>Fusion</source>
        <translation>Fusión</translation>
    </message>
    <message>
        <source>Supraventricular</source>
        <translation>Supraventricular</translation>
    </message>
    <message>
        <source>Undefined</source>
        <translation>Indefinido</translation>
    </message>
    <message>
        <source>Supraventricular labeling rules</source>
        <translation>Reglas de clasificación supraventricular</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automático</translation>
    </message>
    <message>
        <source>User defined</source>
        <translation>Definido por el usuario</translation>
    </message>
    <message>
        <source>Prematurity %</source>
        <translation>Prematuridad %</translation>
    </message>
    <message>
        <source>Followed by compensatory</source>
        <translation>Seguido de pausa compensatoria</translation>
    </message>
    <message>
        <source>Auto-export report files</source>
        <translation>Exportar automáticamente los informes</translation>
    </message>
    <message>
        <source>Holter reports folder</source>
        <translation>Carpeta de informes Holter</translation>
    </message>
    <message>
        <source>...</source>
        <translation>...</translation>
    </message>
    <message>
        <source>Reports are exported when saved as PDF files.</source>
        <translation>Los informes se exportan al guardarse como archivos PDF.</translation>
    </message>
    <message>
        <source>Auto-export new studies</source>
        <translation>Exportar automáticamente los estudios nuevos</translation>
    </message>
    <message>
        <source>Holter studies folder</source>
        <translation>Carpeta de estudios Holter</translation>
    </message>
    <message>
        <source>Studies are exported after download.</source>
        <translation>Los estudios se exportan después de la descarga.</translation>
    </message>
    <message>
        <source>Bazett</source>
        <translation>Bazett</translation>
    </message>
    <message>
        <source>Fredericia</source>
        <translation>Fredericia</translation>
    </message>
    <message>
        <source>Hodges</source>
        <translation>Hodges</translation>
    </message>
    <message>
        <source>Framingham</source>
        <translation>Framingham</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>Logo image could not be loaded from file: %1</source>
        <translation>No se pudo cargar la imagen del logotipo desde el archivo: %1</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>Abrir imagen</translation>
    </message>
    <message>
        <source>Image Files (*.png *.jpg *.bmp)</source>
        <translation>Archivos de imagen (*.png *.jpg *.bmp)</translation>
    </message>
    <message>
        <source>Select shared folder</source>
        <translation>Seleccionar carpeta compartida</translation>
    </message>
</context>
<context>
    <name>Decoder</name>
    <message>
        <source>Annotation file %1 is not valid: %2 (at byte %3).</source>
        <translation>El archivo de anotaciones %1 no es válido: %2 (en el byte %3).</translation>
    </message>
</context>
<context>
    <name>DownloadDialog</name>
    <message>
        <source>Download study</source>
        <translation>Descargar estudio</translation>
    </message>
    <message>
        <source>Please insert memory card or select file to download...</source>
        <translation>Inserte la tarjeta de memoria o seleccione el archivo a descargar...</translation>
    </message>
    <message>
        <source>Patient</source>
        <translation>Paciente</translation>
    </message>
    <message>
        <source>Last name</source>
        <translation>Apellido</translation>
    </message>
    <message>
        <source>First name</source>
        <translation>Nombre</translation>
    </message>
    <message>
        <source>ID number</source>
        <translation>Nro. de documento</translation>
    </message>
    <message>
        <source>Patient ID / Rec. #</source>
        <translation>ID paciente / Nro. de registro</translation>
    </message>
    <message>
        <source>Date/time</source>
        <translation>Fecha/hora</translation>
    </message>
    <message>
        <source>Recording</source>
        <translation>Grabación</translation>
    </message>
    <message>
        <source>Channel #1</source>
        <translation>Canal #1</translation>
    </message>
    <message>
        <source>Invert</source>
        <translation>Invertir</translation>
    </message>
    <message>
        <source>Channel #2</source>
        <translation>Canal #2</translation>
    </message>
    <message>
        <source>Channel #3</source>
        <translation>Canal #3</translation>
    </message>
    <message>
        <source>Duration</source>
        <translation>Duración</translation>
    </message>
    <message>
        <source>Download</source>
        <translation>Descargar</translation>
    </message>
    <message>
        <source>&lt;All&gt;</source>
        <translation>&lt;Todo&gt;</translation>
    </message>
    <message>
        <source>Select file...</source>
        <translation>Seleccionar archivo...</translation>
    </message>
    <message>
        <source>Patient event</source>
        <translation>Evento del paciente</translation>
    </message>
    <message>
        <source>Low battery</source>
        <translation>Batería baja</translation>
    </message>
    <message>
        <source>SD card error</source>
        <translation>Error de tarjeta SD</translation>
    </message>
    <message>
        <source>Disconnected electrodes</source>
        <translation>Electrodos desconectados</translation>
    </message>
    <message>
        <source>Cannot open file in memory card %1</source>
        <translation>No se puede abrir el archivo de la tarjeta de memoria %1</translation>
    </message>
    <message>
        <source>Could not complete download.
The memory card could not be read to the end: check that it is still in its reader.</source>
        <translation>No se pudo completar la descarga.
No se pudo leer la tarjeta de memoria hasta el final: verifique que siga en el lector.</translation>
    </message>
    <message>
        <source>Could not complete download.
Please check available disk space.</source>
        <translation>No se pudo completar la descarga.
Verifique el espacio disponible en el disco.</translation>
    </message>
    <message>
        <source>Select file to download</source>
        <translation>Seleccionar el archivo a descargar</translation>
    </message>
    <message>
        <source>Recorder file (HECG.VTF hecg.vtf);;All files (*)</source>
        <translation>Archivo del grabador (HECG.VTF hecg.vtf);;Todos los archivos (*)</translation>
    </message>
    <message>
        <source>Enter study information and press &lt;Download&gt;</source>
        <translation>Ingrese los datos del estudio y presione &lt;Descargar&gt;</translation>
    </message>
    <message>
        <source>24 hs.</source>
        <translation>24 hs.</translation>
    </message>
    <message>
        <source>48 hs.</source>
        <translation>48 hs.</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Error</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Confirmar</translation>
    </message>
    <message>
        <source>Study has been downloaded. Delete from memory card?</source>
        <translation>El estudio fue descargado. ¿Borrarlo de la tarjeta de memoria?</translation>
    </message>
    <message>
        <source>Downloading...</source>
        <translation>Descargando...</translation>
    </message>
    <message>
        <source>Import file...</source>
        <translation>Importar archivo...</translation>
    </message>
    <message>
        <source>Make a study from a recording of another recorder: EDF, EDF+, BDF, ISHNE or a WFDB record</source>
        <translation>Crear un estudio a partir de la grabación de otro grabador: EDF, EDF+, BDF, ISHNE o un registro WFDB</translation>
    </message>
    <message>
        <source>Import recording</source>
        <translation>Importar grabación</translation>
    </message>
    <message>
        <source>Recordings (*.edf *.EDF *.bdf *.BDF *.ecg *.ECG *.ishne *.hea);;All files (*)</source>
        <translation>Grabaciones (*.edf *.EDF *.bdf *.BDF *.ecg *.ECG *.ishne *.hea);;Todos los archivos (*)</translation>
    </message>
    <message>
        <source>%1 is not a recording this program can import (EDF, EDF+, BDF, ISHNE or a WFDB record).</source>
        <translation>%1 no es una grabación que este programa pueda importar (EDF, EDF+, BDF, ISHNE o un registro WFDB).</translation>
    </message>
    <message>
        <source>Importing %1...</source>
        <translation>Importando %1...</translation>
    </message>
    <message>
        <source>The file could not be imported.</source>
        <translation>No se pudo importar el archivo.</translation>
    </message>
</context>
<context>
    <name>EventCatalog</name>
    <message>
        <source>Tachycardia</source>
        <translation>Taquicardia</translation>
    </message>
    <message>
        <source>Bradycardia</source>
        <translation>Bradicardia</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pausa</translation>
    </message>
    <message>
        <source>Bigeminy</source>
        <translation>Bigeminismo</translation>
    </message>
    <message>
        <source>Trigeminy</source>
        <translation>Trigeminismo</translation>
    </message>
    <message>
        <source>PVC couplet</source>
        <translation>Duplete de EV</translation>
    </message>
    <message>
        <source>PVC triplet</source>
        <translation>Triplete de EV</translation>
    </message>
    <message>
        <source>PVC tachy</source>
        <translation>Taquicardia ventricular</translation>
    </message>
    <message>
        <source>SVPB couplet</source>
        <translation>Duplete de ESV</translation>
    </message>
    <message>
        <source>SVPB triplet</source>
        <translation>Triplete de ESV</translation>
    </message>
    <message>
        <source>SVPB tachy</source>
        <translation>Taquicardia supraventricular</translation>
    </message>
    <message>
        <source>Atrial fibrillation</source>
        <translation>Fibrilación auricular</translation>
    </message>
    <message>
        <source>%1 secs.</source>
        <translation>%1 seg.</translation>
    </message>
    <message>
        <source>%1 beats, %2 secs.</source>
        <translation>%1 latidos, %2 seg.</translation>
    </message>
</context>
<context>
    <name>ImportPatient</name>
    <message>
        <source>the last name</source>
        <translation>el apellido</translation>
    </message>
    <message>
        <source>the first name</source>
        <translation>el nombre</translation>
    </message>
    <message>
        <source>a valid date after the year 2000</source>
        <translation>una fecha válida posterior al año 2000</translation>
    </message>
    <message>
        <source>The study needs %1.</source>
        <translation>El estudio necesita %1.</translation>
    </message>
    <message>
        <source>, </source>
        <translation>, </translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>v %1</source>
        <translation>v %1</translation>
    </message>
    <message>
        <source>Download study</source>
        <translation>Descargar estudio</translation>
    </message>
    <message>
        <source>Open study</source>
        <translation>Abrir estudio</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Please wait...</source>
        <translation>Por favor, espere...</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>There is not enough free space on disk.
Please free at least 500 MB to download a new study.</source>
        <translation>No hay suficiente espacio libre en el disco.
Libere al menos 500 MB para descargar un nuevo estudio.</translation>
    </message>
    <message>
        <source>Study %1 does not exist</source>
        <translation>El estudio %1 no existe</translation>
    </message>
    <message>
        <source>Study file was succesfully exported to folder: %1</source>
        <translation>El estudio se exportó correctamente a la carpeta: %1</translation>
    </message>
    <message>
        <source>Study file could not be exported to folder: %1
Please check shared folder access with your network administrator.</source>
        <translation>No se pudo exportar el estudio a la carpeta: %1
Compruebe el acceso a la carpeta compartida con su administrador de red.</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Información</translation>
    </message>
    <message>
        <source>Study is being processed, please wait until ready</source>
        <translation>El estudio se está procesando, espere hasta que esté listo</translation>
    </message>
    <message>
        <source>Study is already open for review</source>
        <translation>El estudio ya está abierto para revisión</translation>
    </message>
    <message>
        <source>Study file not found</source>
        <translation>No se encontró el archivo del estudio</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Confirmar</translation>
    </message>
    <message>
        <source>This study needs to be reprocessed. Continue?</source>
        <translation>Este estudio debe ser reprocesado. ¿Continuar?</translation>
    </message>
    <message>
        <source>The study is ready for review. Reviewing studies comes in a later version of the workstation; the report can be made with holter-cli meanwhile.</source>
        <translation>El estudio está listo para revisión. La revisión de estudios llegará en una versión posterior de la estación de trabajo; mientras tanto, el informe puede generarse con holter-cli.</translation>
    </message>
    <message>
        <source>Another study is being processed. Please wait until it is ready.</source>
        <translation>Se está procesando otro estudio. Espere hasta que esté listo.</translation>
    </message>
    <message>
        <source>Processing</source>
        <translation>Procesando</translation>
    </message>
    <message>
        <source>Processing of the study stopped:
%1
The study can be processed again when it is opened.</source>
        <translation>El procesamiento del estudio se detuvo:
%1
El estudio podrá procesarse nuevamente al abrirlo.</translation>
    </message>
    <message>
        <source>Configuration</source>
        <translation>Configuración</translation>
    </message>
</context>
<context>
    <name>OpenStudyDialog</name>
    <message>
        <source>Select study</source>
        <translation>Seleccionar estudio</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>Find by name</source>
        <translation>Buscar por nombre</translation>
    </message>
    <message>
        <source>Part of the last or first name</source>
        <translation>Parte del apellido o del nombre</translation>
    </message>
    <message>
        <source>Patient</source>
        <translation>Paciente</translation>
    </message>
    <message>
        <source>Study type</source>
        <translation>Tipo de estudio</translation>
    </message>
    <message>
        <source>Date</source>
        <translation>Fecha</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Informe</translation>
    </message>
    <message>
        <source>Show report</source>
        <translation>Ver informe</translation>
    </message>
    <message>
        <source>Send to Veltrona</source>
        <translation>Enviar a Veltrona</translation>
    </message>
    <message>
        <source>Show shared studies</source>
        <translation>Mostrar estudios compartidos</translation>
    </message>
    <message>
        <source>Copy the selected local studies to the shared folder</source>
        <translation>Copiar los estudios locales seleccionados a la carpeta compartida</translation>
    </message>
    <message>
        <source>Export &gt;&gt;</source>
        <translation>Exportar &gt;&gt;</translation>
    </message>
    <message>
        <source>Copy the selected shared studies into this workstation</source>
        <translation>Copiar los estudios compartidos seleccionados a esta estación</translation>
    </message>
    <message>
        <source>&lt;&lt; Import</source>
        <translation>&lt;&lt; Importar</translation>
    </message>
    <message>
        <source>Shared folder:</source>
        <translation>Carpeta compartida:</translation>
    </message>
    <message>
        <source>Choose a shared folder</source>
        <translation>Elegir una carpeta compartida</translation>
    </message>
    <message>
        <source>No uploader program is configured on this workstation.</source>
        <translation>No hay ningún programa de envío configurado en esta estación.</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Sí</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Error</translation>
    </message>
    <message>
        <source>Choose a shared folder with the folder button.</source>
        <translation>Elija una carpeta compartida con el botón de carpeta.</translation>
    </message>
    <message>
        <source>The shared folder %1 cannot be reached.</source>
        <translation>No se puede acceder a la carpeta compartida %1.</translation>
    </message>
    <message>
        <source>There are no studies in this folder.</source>
        <translation>No hay estudios en esta carpeta.</translation>
    </message>
    <message>
        <source>Report file not found</source>
        <translation>No se encontró el archivo del informe</translation>
    </message>
    <message>
        <source>The report %1 could not be opened: no PDF viewer is set up on this workstation.</source>
        <translation>No se pudo abrir el informe %1: no hay ningún visor de PDF configurado en esta estación.</translation>
    </message>
    <message>
        <source>Delete selected studies from shared folder?</source>
        <translation>¿Eliminar los estudios seleccionados de la carpeta compartida?</translation>
    </message>
    <message>
        <source>Delete selected studies from local folder?</source>
        <translation>¿Eliminar los estudios seleccionados de la carpeta local?</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Confirmar</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Información</translation>
    </message>
    <message>
        <source>These studies are open for review and were not deleted:
%1</source>
        <translation>Estos estudios están abiertos para revisión y no se eliminaron:
%1</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>These files could not be deleted from the shared folder %1:
%2</source>
        <translation>Estos archivos no se pudieron eliminar de la carpeta compartida %1:
%2</translation>
    </message>
    <message>
        <source>Hide shared studies</source>
        <translation>Ocultar estudios compartidos</translation>
    </message>
    <message>
        <source>Select shared folder</source>
        <translation>Seleccionar carpeta compartida</translation>
    </message>
    <message>
        <source>Choose a shared folder first.</source>
        <translation>Elija primero una carpeta compartida.</translation>
    </message>
    <message>
        <source>The shared folder %1 cannot be reached.
Please check shared folder access with your network administrator.</source>
        <translation>No se puede acceder a la carpeta compartida %1.
Compruebe el acceso a la carpeta compartida con su administrador de red.</translation>
    </message>
    <message>
        <source>The shared folder %1 is read-only.
Please check shared folder access with your network administrator.</source>
        <translation>La carpeta compartida %1 es de solo lectura.
Compruebe el acceso a la carpeta compartida con su administrador de red.</translation>
    </message>
    <message>
        <source>Please wait...</source>
        <translation>Por favor, espere...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Please wait... (%1 of %2)</source>
        <translation>Por favor, espere... (%1 de %2)</translation>
    </message>
    <message>
        <source>Study %1 is no longer in the local store</source>
        <translation>El estudio %1 ya no está en el almacén local</translation>
    </message>
    <message>
        <source>Error while exporting: %1

Please check available disk space.</source>
        <translation>Error al exportar: %1

Compruebe el espacio disponible en disco.</translation>
    </message>
    <message>
        <source>Export cancelled: %1 of %2 studies were exported.</source>
        <translation>Exportación cancelada: se exportaron %1 de %2 estudios.</translation>
    </message>
    <message>
        <source>Error while importing: %1

Please check available disk space.</source>
        <translation>Error al importar: %1

Compruebe el espacio disponible en disco.</translation>
    </message>
    <message>
        <source>Import cancelled: %1 of %2 studies were imported.</source>
        <translation>Importación cancelada: se importaron %1 de %2 estudios.</translation>
    </message>
    <message>
        <source>No uploader program is configured on this workstation, so nothing was sent.
The setting %1 names the program that sends studies to Veltrona.</source>
        <translation>No hay ningún programa de envío configurado en esta estación, así que no se envió nada.
El ajuste %1 indica el programa que envía los estudios a Veltrona.</translation>
    </message>
    <message>
        <source>Send selected studies to Veltrona?</source>
        <translation>¿Enviar los estudios seleccionados a Veltrona?</translation>
    </message>
    <message>
        <source>Veltrona Uploader is running, please close it first.</source>
        <translation>Veltrona Uploader está en ejecución; ciérrelo primero.</translation>
    </message>
    <message>
        <source>Cannot create the folder %1</source>
        <translation>No se puede crear la carpeta %1</translation>
    </message>
    <message>
        <source>The uploader %1 could not be started.</source>
        <translation>No se pudo iniciar el programa de envío %1.</translation>
    </message>
    <message>
        <source>Holter</source>
        <translation>Holter</translation>
    </message>
</context>
<context>
    <name>PreprocessDialog</name>
    <message>
        <source>Process study</source>
        <translation>Procesar estudio</translation>
    </message>
    <message>
        <source>ECG lead modifications</source>
        <translation>Modificaciones de derivaciones ECG</translation>
    </message>
    <message>
        <source>Channel #1</source>
        <translation>Canal #1</translation>
    </message>
    <message>
        <source>Invert</source>
        <translation>Invertir</translation>
    </message>
    <message>
        <source>Channel #2</source>
        <translation>Canal #2</translation>
    </message>
    <message>
        <source>Channel #3</source>
        <translation>Canal #3</translation>
    </message>
    <message>
        <source>Trim recording</source>
        <translation>Recortar grabación</translation>
    </message>
    <message>
        <source>Processing options</source>
        <translation>Opciones de procesamiento</translation>
    </message>
    <message>
        <source>Supraventricular labeling rules</source>
        <translation>Reglas de clasificación supraventricular</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automática</translation>
    </message>
    <message>
        <source>User defined</source>
        <translation>Definida por el usuario</translation>
    </message>
    <message>
        <source>Prematurity %</source>
        <translation>Prematuridad %</translation>
    </message>
    <message>
        <source>Followed by compensatory</source>
        <translation>Seguido de pausa compensatoria</translation>
    </message>
    <message>
        <source>Allowed beat types</source>
        <translation>Tipos de latido permitidos</translation>
    </message>
    <message>
        <source>Normal</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>Ventricular</source>
        <translation>Ventricular</translation>
    </message>
    <message>
        <source>Fusion</source>
        <translation>Fusión</translation>
    </message>
    <message>
        <source>Undefined</source>
        <translation>Indefinido</translation>
    </message>
    <message>
        <source>Supraventricular</source>
        <translation>Supraventricular</translation>
    </message>
    <message>
        <source>Save and continue</source>
        <translation>Guardar y continuar</translation>
    </message>
    <message>
        <source>Apply and process</source>
        <translation>Aplicar y procesar</translation>
    </message>
    <message>
        <source>Could not complete operation.
Please check available disk space.</source>
        <translation>No se pudo completar la operación.
Verifique el espacio disponible en disco.</translation>
    </message>
    <message>
        <source>Process study: %1, %2 - %3</source>
        <translation>Procesar estudio: %1, %2 - %3</translation>
    </message>
    <message>
        <source>The study was downloaded and is ready to be processed. Closing this window leaves it unprocessed until it is opened again.</source>
        <translation>El estudio fue descargado y está listo para procesarse. Si cierra esta ventana quedará sin procesar hasta que se abra nuevamente.</translation>
    </message>
    <message>
        <source>&lt;No change&gt;</source>
        <translation>&lt;Sin cambios&gt;</translation>
    </message>
    <message>
        <source>24 hs.</source>
        <translation>24 hs.</translation>
    </message>
    <message>
        <source>48 hs.</source>
        <translation>48 hs.</translation>
    </message>
    <message>
        <source>The recording is not longer than %1 hours: nothing will be trimmed.</source>
        <translation>La grabación no supera las %1 horas: no se recortará nada.</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>All recording in excess of %1 hours will be erased. Proceed?</source>
        <translation>Se borrará toda la grabación que exceda las %1 horas. ¿Continuar?</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Error</translation>
    </message>
    <message>
        <source>Saving...</source>
        <translation>Guardando...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
</context>
<context>
    <name>QBeatDisplay</name>
    <message>
        <source>P on</source>
        <translation>Inicio P</translation>
    </message>
    <message>
        <source>P off</source>
        <translation>Fin P</translation>
    </message>
    <message>
        <source>QRS on</source>
        <translation>Inicio QRS</translation>
    </message>
    <message>
        <source>QRS off</source>
        <translation>Fin QRS</translation>
    </message>
    <message>
        <source>T on</source>
        <translation>Inicio T</translation>
    </message>
    <message>
        <source>T off</source>
        <translation>Fin T</translation>
    </message>
    <message>
        <source>T peak</source>
        <translation>Pico T</translation>
    </message>
</context>
<context>
    <name>QSignalCompressedDisplay</name>
    <message>
        <source>%1x</source>
        <translation>%1x</translation>
    </message>
</context>
<context>
    <name>RecordingExport</name>
    <message>
        <source>cannot create the file (EDFlib error %1)</source>
        <translation>no se puede crear el archivo (error %1 de EDFlib)</translation>
    </message>
    <message>
        <source>cannot write the %1</source>
        <translation>no se puede escribir %1</translation>
    </message>
    <message>
        <source>cannot complete the file; is the disk full?</source>
        <translation>no se puede completar el archivo; ¿está lleno el disco?</translation>
    </message>
    <message>
        <source>sampling rate</source>
        <translation>la frecuencia de muestreo</translation>
    </message>
    <message>
        <source>digital range</source>
        <translation>el rango digital</translation>
    </message>
    <message>
        <source>physical range</source>
        <translation>el rango físico</translation>
    </message>
    <message>
        <source>physical dimension</source>
        <translation>la unidad física</translation>
    </message>
    <message>
        <source>signal label</source>
        <translation>la etiqueta de la señal</translation>
    </message>
    <message>
        <source>patient name</source>
        <translation>el nombre del paciente</translation>
    </message>
    <message>
        <source>patient code</source>
        <translation>el código del paciente</translation>
    </message>
    <message>
        <source>sex</source>
        <translation>el sexo</translation>
    </message>
    <message>
        <source>birth date</source>
        <translation>la fecha de nacimiento</translation>
    </message>
    <message>
        <source>start</source>
        <translation>el inicio</translation>
    </message>
    <message>
        <source>equipment</source>
        <translation>el equipo</translation>
    </message>
    <message>
        <source>the study has no signal to export</source>
        <translation>el estudio no tiene señal que exportar</translation>
    </message>
    <message>
        <source>%1 annotations do not fit into %2 seconds of EDF+</source>
        <translation>%1 anotaciones no caben en %2 segundos de EDF+</translation>
    </message>
    <message>
        <source>annotation signals</source>
        <translation>las señales de anotaciones</translation>
    </message>
    <message>
        <source>Export cancelled</source>
        <translation>Exportación cancelada</translation>
    </message>
    <message>
        <source>samples</source>
        <translation>las muestras</translation>
    </message>
    <message>
        <source>annotations</source>
        <translation>las anotaciones</translation>
    </message>
    <message>
        <source>cannot replace the file</source>
        <translation>no se puede reemplazar el archivo</translation>
    </message>
    <message>
        <source>cannot write the file; is the disk full?</source>
        <translation>no se puede escribir el archivo; ¿está lleno el disco?</translation>
    </message>
    <message>
        <source>format %1 is not written; choose 16 or 212</source>
        <translation>el formato %1 no se escribe; elija 16 o 212</translation>
    </message>
    <message>
        <source>a record name must not be empty or contain blanks</source>
        <translation>el nombre de un registro no puede estar vacío ni contener espacios</translation>
    </message>
    <message>
        <source>cannot create the file</source>
        <translation>no se puede crear el archivo</translation>
    </message>
</context>
<context>
    <name>RecordingImport</name>
    <message>
        <source>cannot open the file</source>
        <translation>no se puede abrir el archivo</translation>
    </message>
    <message>
        <source>not an EDF or BDF file (no EDF header at its start)</source>
        <translation>no es un archivo EDF ni BDF (no empieza con una cabecera EDF)</translation>
    </message>
    <message>
        <source>the number of data records is not a number</source>
        <translation>el número de registros de datos no es un número</translation>
    </message>
    <message>
        <source>the data record duration &apos;%1&apos; is not a positive number of seconds</source>
        <translation>la duración de registro de datos &apos;%1&apos; no es un número positivo de segundos</translation>
    </message>
    <message>
        <source>the header declares no signals</source>
        <translation>la cabecera no declara ninguna señal</translation>
    </message>
    <message>
        <source>the header declares %1 signals; a Holter recording has at most %2</source>
        <translation>la cabecera declara %1 señales; un registro Holter tiene como máximo %2</translation>
    </message>
    <message>
        <source>the header size %1 bytes does not fit its %2 signals</source>
        <translation>el tamaño de cabecera de %1 bytes no corresponde a sus %2 señales</translation>
    </message>
    <message>
        <source>the file ends inside its header</source>
        <translation>el archivo termina dentro de su cabecera</translation>
    </message>
    <message>
        <source>signal %1 (%2): the %3 &apos;%4&apos; is not a number</source>
        <translation>señal %1 (%2): %3 &apos;%4&apos; no es un número</translation>
    </message>
    <message>
        <source>physical minimum</source>
        <translation>el mínimo físico</translation>
    </message>
    <message>
        <source>physical maximum</source>
        <translation>el máximo físico</translation>
    </message>
    <message>
        <source>digital minimum</source>
        <translation>el mínimo digital</translation>
    </message>
    <message>
        <source>digital maximum</source>
        <translation>el máximo digital</translation>
    </message>
    <message>
        <source>number of samples per record</source>
        <translation>el número de muestras por registro</translation>
    </message>
    <message>
        <source>the number of data records is negative</source>
        <translation>el número de registros de datos es negativo</translation>
    </message>
    <message>
        <source>the header promises %1 data records but the file holds %2; it is incomplete</source>
        <translation>la cabecera anuncia %1 registros de datos pero el archivo contiene %2; está incompleto</translation>
    </message>
    <message>
        <source>out of memory while opening the file</source>
        <translation>memoria insuficiente al abrir el archivo</translation>
    </message>
    <message>
        <source>cannot read the file</source>
        <translation>no se puede leer el archivo</translation>
    </message>
    <message>
        <source>the file is already open</source>
        <translation>el archivo ya está abierto</translation>
    </message>
    <message>
        <source>too many EDF files are open</source>
        <translation>hay demasiados archivos EDF abiertos</translation>
    </message>
    <message>
        <source>the file breaks the EDF rules (EDFlib error %1)</source>
        <translation>el archivo no cumple las reglas de EDF (error %1 de EDFlib)</translation>
    </message>
    <message>
        <source>holds no ECG signal; its signals are %1. An ECG signal is labelled ECG, EKG or with a lead name and measured in volts</source>
        <translation>no contiene ninguna señal de ECG; sus señales son %1. Una señal de ECG lleva la etiqueta ECG, EKG o el nombre de una derivación y se mide en voltios</translation>
    </message>
    <message>
        <source>signal &apos;%1&apos; has a sampling rate of 0</source>
        <translation>la señal &apos;%1&apos; tiene una frecuencia de muestreo de 0</translation>
    </message>
    <message>
        <source>signal &apos;%1&apos; is sampled at %2 Hz; a whole rate of 1 to %3 Hz is needed</source>
        <translation>la señal &apos;%1&apos; está muestreada a %2 Hz; se necesita una frecuencia entera de 1 a %3 Hz</translation>
    </message>
    <message>
        <source>its ECG signals are sampled at different rates (%1 and %2 Hz)</source>
        <translation>sus señales de ECG tienen frecuencias de muestreo distintas (%1 y %2 Hz)</translation>
    </message>
    <message>
        <source>signal &apos;%1&apos; has an empty digital or physical range</source>
        <translation>la señal &apos;%1&apos; tiene un rango digital o físico vacío</translation>
    </message>
    <message>
        <source>cannot read samples %1 to %2</source>
        <translation>no se pueden leer las muestras %1 a %2</translation>
    </message>
    <message>
        <source>a discontinuous file needs an annotation signal for the times of its records</source>
        <translation>un archivo discontinuo necesita una señal de anotaciones para los tiempos de sus registros</translation>
    </message>
    <message>
        <source>data record %1 has no start time</source>
        <translation>el registro de datos %1 no tiene hora de inicio</translation>
    </message>
    <message>
        <source>data record %1 starts at %2 s, before the previous one ends</source>
        <translation>el registro de datos %1 empieza en %2 s, antes de que termine el anterior</translation>
    </message>
    <message>
        <source>Noise: gap in the recording</source>
        <translation>Ruido: hueco en el registro</translation>
    </message>
    <message>
        <source>an annotation list does not start with a signed onset</source>
        <translation>una lista de anotaciones no empieza con un inicio con signo</translation>
    </message>
    <message>
        <source>an annotation has a duration that is not a number</source>
        <translation>una anotación tiene una duración que no es un número</translation>
    </message>
    <message>
        <source>an annotation has an onset that is not a number</source>
        <translation>una anotación tiene un inicio que no es un número</translation>
    </message>
    <message>
        <source>cannot read data record %1</source>
        <translation>no se puede leer el registro de datos %1</translation>
    </message>
    <message>
        <source>%1 The file %2 does not say: give it with the import.</source>
        <translation>%1 El archivo %2 no lo indica: indíquelo al importar.</translation>
    </message>
    <message>
        <source>Import cancelled</source>
        <translation>Importación cancelada</translation>
    </message>
    <message>
        <source>not an ISHNE Holter file (its first bytes are not ISHNE1.0)</source>
        <translation>no es un archivo Holter ISHNE (sus primeros bytes no son ISHNE1.0)</translation>
    </message>
    <message>
        <source>the header&apos;s block sizes and offsets disagree (variable block %1 bytes at %2, ECG at %3)</source>
        <translation>los tamaños y posiciones de bloque de la cabecera no concuerdan (bloque variable de %1 bytes en %2, ECG en %3)</translation>
    </message>
    <message>
        <source>the header checksum does not match (stored %1, computed %2); the header is damaged</source>
        <translation>la suma de control de la cabecera no coincide (guardada %1, calculada %2); la cabecera está dañada</translation>
    </message>
    <message>
        <source>the header declares %1 leads; 1 to %2 are possible</source>
        <translation>la cabecera declara %1 derivaciones; son posibles de 1 a %2</translation>
    </message>
    <message>
        <source>the sampling rate %1 Hz is not one of 1 to 1024 Hz</source>
        <translation>la frecuencia de muestreo de %1 Hz no está entre 1 y 1024 Hz</translation>
    </message>
    <message>
        <source>lead %1 has an amplitude resolution of %2 nV</source>
        <translation>la derivación %1 tiene una resolución de amplitud de %2 nV</translation>
    </message>
    <message>
        <source>the header gives a negative number of samples</source>
        <translation>la cabecera indica un número negativo de muestras</translation>
    </message>
    <message>
        <source>the header promises %1 samples per lead but the file holds %2; it is incomplete</source>
        <translation>la cabecera anuncia %1 muestras por derivación pero el archivo contiene %2; está incompleto</translation>
    </message>
    <message>
        <source>%1: cannot read the samples</source>
        <translation>%1: no se pueden leer las muestras</translation>
    </message>
    <message>
        <source>%1: cannot read samples %2 to %3</source>
        <translation>%1: no se pueden leer las muestras %2 a %3</translation>
    </message>
    <message>
        <source>%1: no such file or folder</source>
        <translation>%1: no existe ese archivo o carpeta</translation>
    </message>
    <message>
        <source>%1 is not a recording that can be imported: neither a memory card, a WFDB record, an EDF/BDF file nor an ISHNE Holter file</source>
        <translation>%1 no es un registro que se pueda importar: no es una tarjeta de memoria, ni un registro WFDB, ni un archivo EDF/BDF, ni un archivo Holter ISHNE</translation>
    </message>
    <message>
        <source>%1: the recording holds %2 samples per channel; a study holds at most %3</source>
        <translation>%1: el registro contiene %2 muestras por canal; un estudio contiene como máximo %3</translation>
    </message>
    <message>
        <source>a data record of %1 bytes is more than the format allows (%2)</source>
        <translation>un registro de datos de %1 bytes supera lo que permite el formato (%2)</translation>
    </message>
    <message>
        <source>the file holds no data records</source>
        <translation>el archivo no contiene registros de datos</translation>
    </message>
    <message>
        <source>signal %1 (%2): the number of samples per record is negative</source>
        <translation>señal %1 (%2): el número de muestras por registro es negativo</translation>
    </message>
</context>
<context>
    <name>ReportDialog</name>
    <message>
        <source>Report file could not be exported to folder: %1
Please check shared folder access with your network administrator.</source>
        <translation>No se pudo exportar el informe a la carpeta: %1
Compruebe el acceso a la carpeta compartida con su administrador de red.</translation>
    </message>
</context>
<context>
    <name>StudyDialog</name>
    <message>
        <source>Study data</source>
        <translation>Datos del estudio</translation>
    </message>
    <message>
        <source>Patient</source>
        <translation>Paciente</translation>
    </message>
    <message>
        <source>Risk factors</source>
        <translation>Factores de riesgo</translation>
    </message>
    <message>
        <source>Study info</source>
        <translation>Datos del estudio</translation>
    </message>
    <message>
        <source>Last name(s)</source>
        <translation>Apellido(s)</translation>
    </message>
    <message>
        <source>First name(s)</source>
        <translation>Nombre(s)</translation>
    </message>
    <message>
        <source>Birth date</source>
        <translation>Fecha de nacimiento</translation>
    </message>
    <message>
        <source>day/month/year</source>
        <translation>día/mes/año</translation>
    </message>
    <message>
        <source>Age</source>
        <translation>Edad</translation>
    </message>
    <message>
        <source>Sex</source>
        <translation>Sexo</translation>
    </message>
    <message>
        <source>Male</source>
        <translation>Masculino</translation>
    </message>
    <message>
        <source>Female</source>
        <translation>Femenino</translation>
    </message>
    <message>
        <source>Weight (Kg)</source>
        <translation>Peso (Kg)</translation>
    </message>
    <message>
        <source>Height (cm)</source>
        <translation>Altura (cm)</translation>
    </message>
    <message>
        <source>BMI</source>
        <translation>IMC</translation>
    </message>
    <message>
        <source>ID type</source>
        <translation>Tipo de documento</translation>
    </message>
    <message>
        <source>ID number</source>
        <translation>Número de documento</translation>
    </message>
    <message>
        <source>Medical insurance</source>
        <translation>Obra social</translation>
    </message>
    <message>
        <source>Medical insurance number</source>
        <translation>Número de afiliado</translation>
    </message>
    <message>
        <source>Patient ID / Medical record</source>
        <translation>ID de paciente / Historia clínica</translation>
    </message>
    <message>
        <source>Phone number</source>
        <translation>Teléfono</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>Domicilio</translation>
    </message>
    <message>
        <source>City</source>
        <translation>Ciudad</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Provincia</translation>
    </message>
    <message>
        <source>Factor</source>
        <translation>Factor</translation>
    </message>
    <message>
        <source>Comments...</source>
        <translation>Comentarios...</translation>
    </message>
    <message>
        <source>Date/time</source>
        <translation>Fecha/hora</translation>
    </message>
    <message>
        <source>Doctor name</source>
        <translation>Médico</translation>
    </message>
    <message>
        <source>Referred by</source>
        <translation>Derivado por</translation>
    </message>
    <message>
        <source>Technician name</source>
        <translation>Técnico</translation>
    </message>
    <message>
        <source>Indication</source>
        <translation>Indicación</translation>
    </message>
    <message>
        <source>Medication</source>
        <translation>Medicación</translation>
    </message>
    <message>
        <source>Comments</source>
        <translation>Comentarios</translation>
    </message>
    <message>
        <source>New Holter study</source>
        <translation>Nuevo estudio Holter</translation>
    </message>
    <message>
        <source>The birth date &quot;%1&quot; is not a valid date. Please type it as day/month/year.</source>
        <translation>La fecha de nacimiento &quot;%1&quot; no es una fecha válida. Escríbala como día/mes/año.</translation>
    </message>
    <message>
        <source>The birth date %1 is after the date of the study.</source>
        <translation>La fecha de nacimiento %1 es posterior a la fecha del estudio.</translation>
    </message>
    <message>
        <source>The weight</source>
        <translation>El peso</translation>
    </message>
    <message>
        <source>The height</source>
        <translation>La altura</translation>
    </message>
    <message>
        <source>%1 &quot;%2&quot; is not a valid number.</source>
        <translation>%1 &quot;%2&quot; no es un número válido.</translation>
    </message>
    <message>
        <source>The age &quot;%1&quot; is not a valid number of years.</source>
        <translation>La edad &quot;%1&quot; no es un número de años válido.</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Información</translation>
    </message>
    <message>
        <source>Please reopen the study to apply new recording date/time.</source>
        <translation>Vuelva a abrir el estudio para aplicar la nueva fecha/hora de grabación.</translation>
    </message>
</context>
<context>
    <name>StudyProcessor</name>
    <message>
        <source>Processing %1 of %2: Beat detection</source>
        <translation>Procesando %1 de %2: Detección de latidos</translation>
    </message>
    <message>
        <source>Processing %1 of %2: Noise checking</source>
        <translation>Procesando %1 de %2: Comprobación de ruido</translation>
    </message>
    <message>
        <source>Processing %1 of %2: Beat classification</source>
        <translation>Procesando %1 de %2: Clasificación de latidos</translation>
    </message>
    <message>
        <source>Processing %1 of %2: Type assignment</source>
        <translation>Procesando %1 de %2: Asignación de tipos</translation>
    </message>
    <message>
        <source>Processing %1 of %2: Additional noise removal</source>
        <translation>Procesando %1 de %2: Eliminación adicional de ruido</translation>
    </message>
    <message>
        <source>Processing failed</source>
        <translation>Error en el procesamiento</translation>
    </message>
</context>
<context>
    <name>SummaryTable</name>
    <message>
        <source>Avg.
HR</source>
        <translation>FC
med.</translation>
    </message>
    <message>
        <source>Min.
HR</source>
        <translation>FC
mín.</translation>
    </message>
    <message>
        <source>Max.
HR</source>
        <translation>FC
máx.</translation>
    </message>
    <message>
        <source>PVC
count</source>
        <translation>EV
total</translation>
    </message>
    <message>
        <source>PVC
coupl.</source>
        <translation>EV
dupl.</translation>
    </message>
    <message>
        <source>PVC
tripl.</source>
        <translation>EV
tripl.</translation>
    </message>
    <message>
        <source>PVC
tachy</source>
        <translation>EV
taqui.</translation>
    </message>
    <message>
        <source>Bigmn.</source>
        <translation>Bigem.</translation>
    </message>
    <message>
        <source>Trgmn.</source>
        <translation>Trigem.</translation>
    </message>
    <message>
        <source>SVPB
count</source>
        <translation>ESV
total</translation>
    </message>
    <message>
        <source>SVPB
coupl.</source>
        <translation>ESV
dupl.</translation>
    </message>
    <message>
        <source>SVPB
tripl.</source>
        <translation>ESV
tripl.</translation>
    </message>
    <message>
        <source>SVPB
tachy</source>
        <translation>ESV
taqui.</translation>
    </message>
</context>
<context>
    <name>SummaryTableTotals</name>
    <message>
        <source>Total</source>
        <translation>Total</translation>
    </message>
</context>
<context>
    <name>TReportEngine</name>
    <message>
        <source>Cannot read report template %1: %2</source>
        <translation>No se puede leer la plantilla de informe %1: %2</translation>
    </message>
    <message>
        <source>Bad report template: %1</source>
        <translation>Plantilla de informe incorrecta: %1</translation>
    </message>
</context>
<context>
    <name>WfdbAnnotation</name>
    <message>
        <source>a SKIP interval is cut off</source>
        <translation>un intervalo SKIP está cortado</translation>
    </message>
    <message>
        <source>SUB without an annotation</source>
        <translation>SUB sin anotación</translation>
    </message>
    <message>
        <source>AUX without an annotation</source>
        <translation>AUX sin anotación</translation>
    </message>
    <message>
        <source>AUX text runs past the end</source>
        <translation>el texto AUX sobrepasa el final</translation>
    </message>
    <message>
        <source>an annotation lies before the start of the record</source>
        <translation>una anotación está antes del inicio del registro</translation>
    </message>
    <message>
        <source>time goes backwards</source>
        <translation>el tiempo retrocede</translation>
    </message>
    <message>
        <source>it ends without an end mark</source>
        <translation>termina sin marca de fin</translation>
    </message>
    <message>
        <source>it has an odd length</source>
        <translation>tiene una longitud impar</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Holter ECG workstation</source>
        <translation>Estación de trabajo de ECG Holter</translation>
    </message>
    <message>
        <source>Keep the study store in &lt;folder&gt; instead of the user&apos;s data folder.</source>
        <translation>Guardar el almacén de estudios en &lt;carpeta&gt; en lugar de la carpeta de datos del usuario.</translation>
    </message>
    <message>
        <source>folder</source>
        <translation>carpeta</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Información</translation>
    </message>
    <message>
        <source>%1 is already running</source>
        <translation>%1 ya se está ejecutando</translation>
    </message>
</context>
</TS>
