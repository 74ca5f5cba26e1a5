# Signatures: extension, type and creator (four characters each), comment.
# The entries for English stand before the marker line, those for French
# behind it. The first 127 entries of a section are read. Of entries with
# the same type the first one gives its extension to a file of a volume.
TXT,TEXTttxt,Text file
ASC,TEXTttxt,ASCII text
LOG,TEXTttxt,Log file
NFO,TEXTttxt,Information text
INI,TEXTttxt,Settings text
CFG,TEXTttxt,Configuration text
BAT,TEXTttxt,Batch file
CSV,TEXTXCEL,Comma-separated values
TSV,TEXTXCEL,Tab-separated values
SLK,TEXTXCEL,SYLK spreadsheet
RTF,RTF MSWD,Rich Text Format
DOC,W8BNMSWD,Word document
DOT,W8TNMSWD,Word template
MCW,WDBNMSWD,Word document for Macintosh
XLS,XLS8XCEL,Excel workbook
PPT,SLD8PPT3,PowerPoint presentation
PPS,PPSSPPT3,PowerPoint slide show
CWK,CWWPBOBO,ClarisWorks document
FP3,FMP3FMP3,FileMaker Pro 3 database
FP5,FMP5FMP5,FileMaker Pro 5 database
STAK,STAKWILD,HyperCard stack
PM5,ALB5ALD5,PageMaker 5 document
PM6,ALB6ALD6,PageMaker 6 document
QXD,XDOCXPR3,QuarkXPress document
QXT,XTMPXPR3,QuarkXPress template
MIF,TEXTFram,FrameMaker interchange text
PDF,PDF CARO,Portable Document Format
FDF,FDF CARO,PDF form data
PS,TEXTvgrd,PostScript file
EPS,EPSFvgrd,Encapsulated PostScript
AI,TEXTART5,Illustrator drawing
DXF,TEXTSWVL,Drawing exchange file
PSD,8BPS8BIM,Photoshop picture
GIF,GIFfogle,GIF picture
JPG,JPEGogle,JPEG picture
JPEG,JPEGogle,JPEG picture
JPE,JPEGogle,JPEG picture
JFIF,JPEGogle,JPEG picture
PNG,PNGfogle,PNG picture
TIF,TIFFogle,TIFF picture
TIFF,TIFFogle,TIFF picture
BMP,BMPpogle,Windows bitmap
PCT,PICTogle,QuickDraw picture
PICT,PICTogle,QuickDraw picture
MAC,PNTGogle,MacPaint picture
PNTG,PNTGogle,MacPaint picture
QTIF,qtifogle,QuickTime picture
TGA,TPICogle,Targa picture
SGI,.SGIogle,Silicon Graphics picture
ICNS,icnsogle,Macintosh icons
PCX,PCXxGKON,PCX picture
IFF,ILBMGKON,Amiga picture
LBM,ILBMGKON,Amiga picture
PBM,PPGMGKON,Portable bitmap
PGM,PPGMGKON,Portable greymap
PPM,PPGMGKON,Portable pixmap
XBM,XBM GKON,X Window bitmap
ICO,ICO GKON,Windows icon
SWF,SWFLSWF2,Flash animation
HTM,TEXTMOSS,Web page
HTML,TEXTMOSS,Web page
SHTM,TEXTMOSS,Web page with includes
XML,TEXTttxt,XML text
CSS,TEXTttxt,Style sheet
JS,TEXTttxt,JavaScript source
PHP,TEXTttxt,PHP source
VCF,TEXTttxt,Business card
MOV,MooVTVOD,QuickTime movie
QT,MooVTVOD,QuickTime movie
AVI,VfW TVOD,Video for Windows
MPG,MPEGTVOD,MPEG video
MPEG,MPEGTVOD,MPEG video
MPE,MPEGTVOD,MPEG video
MP4,mpg4TVOD,MPEG-4 video
DV,dvc!TVOD,Digital video
FLI,FLI TVOD,FLIC animation
FLC,FLI TVOD,FLIC animation
MP3,MPG3hook,MP3 sound
M3U,M3U hook,MP3 play list
M4A,M4A hook,MPEG-4 sound
MP2,MPEGTVOD,MPEG sound
AIF,AIFFTVOD,AIFF sound
AIFF,AIFFTVOD,AIFF sound
AIFC,AIFCTVOD,Compressed AIFF sound
AU,ULAWTVOD,Sun sound
WAV,WAVETVOD,Windows sound
MID,MidiTVOD,MIDI music
MIDI,MidiTVOD,MIDI music
KAR,MidiTVOD,MIDI karaoke
RA,PNRAPNst,RealAudio sound
RM,PNRMPNst,RealMedia file
SD2,Sd2fSd2a,Sound Designer II sound
MOD,STrkSCPL,SoundTracker module
ZIP,ZIP SITx,Zip archive
SIT,SIT!SITx,StuffIt archive
HQX,TEXTSITx,BinHex file
BIN,mBINSITx,MacBinary file
SEA,APPLaust,Self-extracting archive
CPT,PACTCPCT,Compact Pro archive
TAR,TARFSITx,Tape archive
GZ,GzipSITx,Gzip file
TGZ,GzipSITx,Compressed tape archive
Z,ZIVUSITx,Unix compressed file
LHA,LHA LARC,LHA archive
LZH,LHA LARC,LHA archive
UU,TEXTSITx,Uuencoded file
UUE,TEXTSITx,Uuencoded file
IMG,dImgddsk,Disk image
DMG,deviddsk,Disk image of Mac OS X
ISO,GImgCDr3,ISO 9660 image
CUE,TEXTttxt,Cue sheet
TTF,sfntmovr,TrueType font
OTF,sfntmovr,OpenType font
SUIT,FFILDMOV,Font suitcase
AFM,TEXTttxt,Font metrics
C,TEXTCWIE,C source
H,TEXTCWIE,C header
CPP,TEXTCWIE,C++ source
HPP,TEXTCWIE,C++ header
JAVA,TEXTCWIE,Java source
PAS,TEXTCWIE,Pascal source
R,TEXTMPS ,Rez source
PL,TEXTMcPL,Perl script
TEX,TEXTOTEX,TeX source
RSRC,rsrcRSED,Resource file
EXE,BINAdosa,PC program
DLL,BINAdosa,PC program library
#[1]
# Entrées françaises : extension, type et créateur, commentaire.
TXT,TEXTttxt,Fichier texte
ASC,TEXTttxt,Texte ASCII
LOG,TEXTttxt,Journal
NFO,TEXTttxt,Texte d'information
INI,TEXTttxt,Fichier de paramètres
CFG,TEXTttxt,Fichier de configuration
BAT,TEXTttxt,Fichier de commandes
CSV,TEXTXCEL,Valeurs séparées par des virgules
TSV,TEXTXCEL,Valeurs séparées par des tabulations
SLK,TEXTXCEL,Feuille de calcul SYLK
RTF,RTF MSWD,Texte enrichi RTF
DOC,W8BNMSWD,Document Word
DOT,W8TNMSWD,Modèle Word
MCW,WDBNMSWD,Document Word pour Macintosh
XLS,XLS8XCEL,Classeur Excel
PPT,SLD8PPT3,Présentation PowerPoint
PPS,PPSSPPT3,Diaporama PowerPoint
CWK,CWWPBOBO,Document ClarisWorks
FP3,FMP3FMP3,Base FileMaker Pro 3
FP5,FMP5FMP5,Base FileMaker Pro 5
STAK,STAKWILD,Pile HyperCard
PM5,ALB5ALD5,Document PageMaker 5
PM6,ALB6ALD6,Document PageMaker 6
QXD,XDOCXPR3,Document QuarkXPress
QXT,XTMPXPR3,Gabarit QuarkXPress
MIF,TEXTFram,Texte d'échange FrameMaker
PDF,PDF CARO,Document PDF
FDF,FDF CARO,Données de formulaire PDF
PS,TEXTvgrd,Fichier PostScript
EPS,EPSFvgrd,PostScript encapsulé
AI,TEXTART5,Dessin Illustrator
DXF,TEXTSWVL,Fichier d'échange de dessins
PSD,8BPS8BIM,Image Photoshop
GIF,GIFfogle,Image GIF
JPG,JPEGogle,Image JPEG
JPEG,JPEGogle,Image JPEG
JPE,JPEGogle,Image JPEG
JFIF,JPEGogle,Image JPEG
PNG,PNGfogle,Image PNG
TIF,TIFFogle,Image TIFF
TIFF,TIFFogle,Image TIFF
BMP,BMPpogle,Image bitmap Windows
PCT,PICTogle,Image QuickDraw
PICT,PICTogle,Image QuickDraw
MAC,PNTGogle,Image MacPaint
PNTG,PNTGogle,Image MacPaint
QTIF,qtifogle,Image QuickTime
TGA,TPICogle,Image Targa
SGI,.SGIogle,Image Silicon Graphics
ICNS,icnsogle,Icônes Macintosh
PCX,PCXxGKON,Image PCX
IFF,ILBMGKON,Image Amiga
LBM,ILBMGKON,Image Amiga
PBM,PPGMGKON,Image PBM
PGM,PPGMGKON,Image PGM
PPM,PPGMGKON,Image PPM
XBM,XBM GKON,Image X Window
ICO,ICO GKON,Icône Windows
SWF,SWFLSWF2,Animation Flash
HTM,TEXTMOSS,Page Web
HTML,TEXTMOSS,Page Web
SHTM,TEXTMOSS,Page Web avec inclusions
XML,TEXTttxt,Texte XML
CSS,TEXTttxt,Feuille de style
JS,TEXTttxt,Source JavaScript
PHP,TEXTttxt,Source PHP
VCF,TEXTttxt,Carte de visite
MOV,MooVTVOD,Séquence QuickTime
QT,MooVTVOD,Séquence QuickTime
AVI,VfW TVOD,Vidéo pour Windows
MPG,MPEGTVOD,Vidéo MPEG
MPEG,MPEGTVOD,Vidéo MPEG
MPE,MPEGTVOD,Vidéo MPEG
MP4,mpg4TVOD,Vidéo MPEG-4
DV,dvc!TVOD,Vidéo numérique
FLI,FLI TVOD,Animation FLIC
FLC,FLI TVOD,Animation FLIC
MP3,MPG3hook,Son MP3
M3U,M3U hook,Liste de lecture MP3
M4A,M4A hook,Son MPEG-4
MP2,MPEGTVOD,Son MPEG
AIF,AIFFTVOD,Son AIFF
AIFF,AIFFTVOD,Son AIFF
AIFC,AIFCTVOD,Son AIFF compressé
AU,ULAWTVOD,Son Sun
WAV,WAVETVOD,Son Windows
MID,MidiTVOD,Musique MIDI
MIDI,MidiTVOD,Musique MIDI
KAR,MidiTVOD,Karaoké MIDI
RA,PNRAPNst,Son RealAudio
RM,PNRMPNst,Fichier RealMedia
SD2,Sd2fSd2a,Son Sound Designer II
MOD,STrkSCPL,Module SoundTracker
ZIP,ZIP SITx,Archive Zip
SIT,SIT!SITx,Archive StuffIt
HQX,TEXTSITx,Fichier BinHex
BIN,mBINSITx,Fichier MacBinary
SEA,APPLaust,Archive autoextractible
CPT,PACTCPCT,Archive Compact Pro
TAR,TARFSITx,Archive tar
GZ,GzipSITx,Fichier Gzip
TGZ,GzipSITx,Archive tar compressée
Z,ZIVUSITx,Fichier compressé Unix
LHA,LHA LARC,Archive LHA
LZH,LHA LARC,Archive LHA
UU,TEXTSITx,Fichier uuencodé
UUE,TEXTSITx,Fichier uuencodé
IMG,dImgddsk,Image disque
DMG,deviddsk,Image disque Mac OS X
ISO,GImgCDr3,Image ISO 9660
CUE,TEXTttxt,Feuille de repères
TTF,sfntmovr,Police TrueType
OTF,sfntmovr,Police OpenType
SUIT,FFILDMOV,Valise de polices
AFM,TEXTttxt,Métriques de police
C,TEXTCWIE,Source C
H,TEXTCWIE,En-tête C
CPP,TEXTCWIE,Source C++
HPP,TEXTCWIE,En-tête C++
JAVA,TEXTCWIE,Source Java
PAS,TEXTCWIE,Source Pascal
R,TEXTMPS ,Source Rez
PL,TEXTMcPL,Script Perl
TEX,TEXTOTEX,Source TeX
RSRC,rsrcRSED,Fichier de ressources
EXE,BINAdosa,Programme PC
DLL,BINAdosa,Bibliothèque de programmes PC
