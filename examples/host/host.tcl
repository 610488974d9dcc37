# A stand-in for the commands of a design tool that customizing a kernel calls: projects and properties, the
# catalog of packaged IP, boards and parts, IP packaging and block designs, over plain files.
#
# Every object is a list of its kind and its name, such as {part meadow-200-2}, with a dictionary of
# properties.

package require tdom

namespace eval ipx {}
namespace eval host {
    # Parts: name, family, speed label.
    variable parts {
        meadow-200-1 meadow 1L
        meadow-200-2 meadow 2
        meadow-200-3 meadow 3H
        ridge-450-1  ridge  1
        ridge-450-3  ridge  3H
        summit-900-2 summit 2
    }
    # Boards: vendor, name, version of the board's files, part. The same board may come in several versions.
    variable boards {
        brook    heron   1.2  meadow-200-1
        brook    heron   1.10 meadow-200-3
        brook    kite    2.0  ridge-450-3
        lakeside otter   1.0  summit-900-2
    }

    variable objects [dict create]
    variable projects {}
    variable current_core {}
    variable current_design {}
}

# ---- Objects and their properties

proc host::make {kind name properties} {
    variable objects
    set object [list $kind $name]
    dict set objects $object $properties
    return $object
}

proc host::require_object {object} {
    variable objects
    if {![dict exists $objects $object]} { error "there is no object '$object'" }
}

proc host::of_kind {kind} {
    variable objects
    return [dict keys $objects [list $kind *]]
}

proc host::find {kind name what} {
    variable objects
    set object [list $kind $name]
    if {[dict exists $objects $object]} { return $object }
    set known [lmap other [of_kind $kind] { lindex $other 1 }]
    error "there is no $what '$name'; there are: [join $known {, }]"
}

proc get_property {property object} {
    host::require_object $object
    set properties [dict get $host::objects $object]
    if {[dict exists $properties $property]} { return [dict get $properties $property] }
    error "the [join $object { }] has no property '$property'; it has: [join [dict keys $properties] {, }]"
}

proc set_property {property value object} {
    host::require_object $object
    dict set host::objects $object $property $value
    return
}

# Splits a command's arguments into its flags, its options that take a value, and the rest. Returns a
# dictionary with an entry for each flag (0 or 1) and option, and `rest`.
proc host::parse {command arguments flags options} {
    foreach flag $flags { dict set parsed $flag 0 }
    foreach option $options { dict set parsed $option {} }
    set rest {}
    for {set i 0} {$i < [llength $arguments]} {incr i} {
        set argument [lindex $arguments $i]
        if {$argument in $flags} {
            dict set parsed $argument 1
        } elseif {$argument in $options} {
            if {[incr i] == [llength $arguments]} { error "$command: a value must follow $argument" }
            dict set parsed $argument [lindex $arguments $i]
        } elseif {[string match -* $argument]} {
            error "$command: there is no option '$argument'"
        } else {
            lappend rest $argument
        }
    }
    dict set parsed rest $rest
    return $parsed
}

proc set_msg_config {args} {
    host::parse set_msg_config $args {-suppress -quiet} {-id}
    return
}

# ---- Files

# The file appears as a whole or not at all.
proc host::write_file {path text} {
    file mkdir [file dirname $path]
    set channel [open $path.new w]
    try {
        chan configure $channel -encoding utf-8 -translation lf
        chan puts -nonewline $channel $text
    } finally {
        close $channel
    }
    file rename -force $path.new $path
}

proc host::escape {text} {
    string map {& &amp; < &lt; > &gt; \" &quot; \n &#10; \r &#13; \t &#9;} $text
}

# ---- Projects

proc create_project {args} {
    set given [host::parse create_project $args {-in_memory} {-part}]
    lassign [dict get $given rest] name directory
    if {$name eq ""} { error "create_project: a name is missing" }
    set part [dict get $given -part]
    if {$part ne ""} { host::find part $part part }
    if {$directory eq ""} { set directory . }

    set in_memory [dict get $given -in_memory]
    set project [host::make project $name [dict create name $name directory [file normalize $directory] \
        part $part in_memory $in_memory ip_repo_paths {}]]
    if {!$in_memory} {
        host::write_file [file join $directory $name.project] "name = $name\npart = $part\n"
    }
    lappend host::projects $project
    return $project
}

proc current_project {} {
    if {$host::projects eq ""} { error "no project is open" }
    return [lindex $host::projects end]
}

proc close_project {} {
    current_project
    set host::projects [lrange $host::projects 0 end-1]
    set host::current_core {}
    set host::current_design {}
    return
}

# ---- Boards and parts

proc host::load_catalog {} {
    variable parts
    variable boards
    foreach {name family label} $parts {
        make part $name [dict create part_name $name family $family speed_label $label]
    }
    foreach {vendor name version part} $boards {
        make board $vendor:$name:part0:$version \
            [dict create board_name $name file_version $version vendor_name $vendor]
        make board_part $vendor:$name:part0:$version \
            [dict create board_name $name board_part_file_version $version part_name $part]
    }
}
host::load_catalog

proc get_parts {name} {
    host::find part $name part
}

proc get_boards {name} {
    host::find board $name board
}

# The filter is conditions `property==value`, joined by `&&`.
proc get_board_parts {args} {
    set given [host::parse get_board_parts $args {-latest_file_version} {-filter}]
    set found [host::of_kind board_part]
    foreach condition [split [string map {&& \n} [dict get $given -filter]] \n] {
        if {![regexp {^\s*(\w+)\s*==\s*(.*?)\s*$} $condition -> property value]} {
            error "get_board_parts: the filter '$condition' is not understood"
        }
        set found [lmap part $found {
            if {[get_property $property $part] ne $value} continue
            set part
        }]
    }
    if {$found eq ""} { error "no board part matches '[dict get $given -filter]'" }
    if {[dict get $given -latest_file_version]} {
        set found [lsort -command host::compare_file_versions $found]
        return [lindex $found end]
    }
    if {[llength $found] == 1} { return [lindex $found 0] }
    return $found
}

proc host::compare_file_versions {left right} {
    package vcompare {*}[lmap part [list $left $right] { get_property board_part_file_version $part }]
}

# ---- Packaged IP: component.xml

proc host::local_name {node} {
    lindex [split [$node nodeName] :] end
}

# A name with the prefix that a node has.
proc host::prefixed_as {node name} {
    if {[$node prefix] eq ""} { return $name }
    return [$node prefix]:$name
}

# The child of a name, whatever its prefix.
proc host::child {node name} {
    foreach child [$node selectNodes *] {
        if {[local_name $child] eq $name} { return $child }
    }
    error "there is no <$name>"
}

# White space stays, so that a document that is written is the one that was read but for what was changed.
proc host::read_component {path} {
    set document [dom parse -keepEmpties [tDOM::xmlReadFile $path]]
    set component [$document documentElement]
    if {[local_name $component] ne "component" || [$component namespaceURI] eq ""} {
        error "$path: this is no component of IEEE 1685"
    }
    return $document
}

# The supported families of a component as triples of family, part and label.
proc host::supported_families {component} {
    set triples {}
    foreach family [$component selectNodes {//*[local-name()='supportedFamilies']/*[local-name()='family']}] {
        lappend triples [$family getAttribute name {}] [$family text] [$family getAttribute label {}]
    }
    return $triples
}

# As the property shows them: "meadow{meadow-200-2} 2 ridge{ridge-450-1}"; the label may be missing.
proc host::families_to_text {triples} {
    set words {}
    foreach {family part label} $triples {
        lappend words "$family{$part}"
        if {$label ne ""} { lappend words $label }
    }
    return [join $words { }]
}

proc host::families_from_text {text} {
    set triples {}
    foreach word [regexp -all -inline {\S+} $text] {
        if {[regexp {^([^{}]+)\{([^{}]+)\}$} $word -> family part]} {
            lappend triples $family $part {}
        } elseif {$triples ne "" && [lindex $triples end] eq "" && ![regexp {[{}]} $word]} {
            lset triples end $word
        } else {
            error "supported families are written as 'family{part} label', not '$word'"
        }
    }
    return $triples
}

# The extension that holds the supported families, made where it is missing.
proc host::families_node {component} {
    set found [$component selectNodes {//*[local-name()='supportedFamilies']}]
    if {$found ne ""} { return [lindex $found 0] }
    set document [$component ownerDocument]
    if {[catch { child $component vendorExtensions } extensions]} {
        set name [prefixed_as $component vendorExtensions]
        set extensions [$component appendChild [$document createElementNS [$component namespaceURI] $name]]
    }
    return [$extensions appendChild [$document createElementNS urn:example:host host:supportedFamilies]]
}

proc host::set_supported_families {component triples} {
    set document [$component ownerDocument]
    set families [families_node $component]
    set namespace [$families namespaceURI]
    foreach old [$families childNodes] { $old delete }
    foreach {family part label} $triples {
        set node [$document createElementNS $namespace [prefixed_as $families family]]
        $node setAttribute name $family
        if {$label ne ""} { $node setAttribute label $label }
        $node appendChild [$document createTextNode $part]
        $families appendChild [$document createTextNode "\n      "]
        $families appendChild $node
    }
    $families appendChild [$document createTextNode "\n    "]
}

# An object for the IP that a component.xml describes.
proc host::load_component {kind path} {
    set document [read_component $path]
    set component [$document documentElement]
    try {
        foreach name {vendor library name version} {
            dict set properties $name [string trim [[child $component $name] text]]
        }
        set triples [supported_families $component]
    } on error reason {
        error "$path: $reason"
    } finally {
        $document delete
    }
    set vlnv [join [dict values $properties] :]
    dict set properties supported_families [families_to_text $triples]
    dict set properties supported_parts [lmap {family part label} $triples { set part }]
    dict set properties path $path
    return [make $kind $vlnv $properties]
}

proc host::components_below {directory} {
    set found [glob -nocomplain -types f -directory $directory component.xml]
    foreach below [glob -nocomplain -types d -directory $directory *] {
        lappend found {*}[components_below $below]
    }
    return $found
}

proc update_ip_catalog {} {
    foreach old [host::of_kind ipdef] { dict unset host::objects $old }
    # The property is one path, which may hold blanks.
    set directory [get_property ip_repo_paths [current_project]]
    if {$directory eq ""} return
    if {![file isdirectory $directory]} { error "the IP repository '$directory' is not a directory" }
    foreach path [host::components_below $directory] { host::load_component ipdef $path }
    return
}

proc get_ipdefs {vlnv} {
    host::find ipdef $vlnv {IP definition}
}

proc ipx::open_core {path} {
    set host::current_core [host::load_component core $path]
}

proc ipx::current_core {} {
    if {$host::current_core eq ""} { error "no IP is open" }
    return $host::current_core
}

proc ipx::save_core {core} {
    set path [get_property path $core]
    set triples [host::families_from_text [get_property supported_families $core]]
    set document [host::read_component $path]
    host::set_supported_families [$document documentElement] $triples
    set text [$document asXML -indent none]
    $document delete
    host::write_file $path "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n$text\n"
}

# ---- Block designs

proc create_bd_design {name} {
    set project [current_project]
    if {[get_property in_memory $project]} { error "a block design needs a project on disk" }
    foreach old [host::of_kind bd_cell] { dict unset host::objects $old }
    set host::current_design [host::make bd_design $name [dict create name $name project $project]]
}

proc create_bd_cell {args} {
    set given [host::parse create_bd_cell $args {} {-type -vlnv}]
    lassign [dict get $given rest] name
    if {$host::current_design eq ""} { error "no block design is open" }
    if {$name eq ""} { error "create_bd_cell: a name is missing" }
    if {[dict get $given -type] ne "ip"} { error "create_bd_cell: only cells of the type ip are known here" }
    set vlnv [dict get $given -vlnv]
    get_ipdefs $vlnv
    return [host::make bd_cell $name [dict create name $name vlnv $vlnv]]
}

# Writes the instance file of each cell: W/P.srcs/sources_1/bd/D/ip/D_N_0/D_N_0.qmr for the cell N of the
# design D in the project P in W.
proc save_bd_design {} {
    if {$host::current_design eq ""} { error "no block design is open" }
    set design [get_property name $host::current_design]
    set project [get_property project $host::current_design]
    set sources [get_property name $project].srcs
    set root [file join [get_property directory $project] $sources sources_1 bd $design]
    foreach cell [host::of_kind bd_cell] {
        set instance ${design}_[get_property name $cell]_0
        host::write_file [file join $root ip $instance $instance.qmr] [host::instance_text $cell $instance]
    }
    return
}

proc host::instance_text {cell instance} {
    variable objects
    set text "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    append text "<instance name=\"[escape $instance]\" vlnv=\"[escape [get_property vlnv $cell]]\">\n"
    dict for {property value} [dict filter [dict get $objects $cell] key CONFIG.*] {
        set name [string range $property [string length CONFIG.] end]
        append text "  <parameter name=\"[escape $name]\" value=\"[escape $value]\"/>\n"
    }
    append text "</instance>\n"
}
